#include "shared/VistamoGlobal.h"

#include "library/ThumbnailDatabase.h"
#include "slideshow/SlideshowOptions.h"
#include "viewer/ColourFilters.h"

#include <QFileInfo>

#include <algorithm>

bool VistamoGlobal::isImageFile(const QString &fileName) const
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    const QStringView extension = dot < 0 ? QStringView() : QStringView(fileName).mid(dot);
    return std::any_of(
        imageFileExtensionList.cbegin(), imageFileExtensionList.cend(), [&](const QString &known) {
            return known.size() == extension.size() && known.compare(extension, Qt::CaseInsensitive) == 0;
        });
}

QString VistamoGlobal::getAppTitle() const
{
    return QStringLiteral("Orrelan Gallery");
}

QUrl VistamoGlobal::getWebsiteUrl() const
{
    return QUrl(QStringLiteral("https://www.orrelan.example/gallery"));
}

void VistamoGlobal::buildImageFileExtensionList()
{
    imageFileExtensionList = {".avif", ".bmp", ".gif",      ".heif", ".heic", ".jpg",
                              ".jpeg", ".jpe", ".jif",      ".jfif", ".jfi",  ".jxl",
                              ".png",  ".psd", ".pspimage", ".tif",  ".tiff", ".webp"};
}

bool VistamoGlobal::thumbnailTableExists(const QString &tableName, const QSqlDatabase &db) const
{
    return ThumbnailDatabase::tableExists(tableName, db);
}

bool VistamoGlobal::createThumbnailTable(const QString &tableName, const QSqlDatabase &db) const
{
    return ThumbnailDatabase::createTable(tableName, db);
}

bool VistamoGlobal::getThumbnail(TThumbnailRecord &record, const QString &tableName,
                                 const QSqlDatabase &db) const
{
    return ThumbnailDatabase::complete(record, tableName, db);
}

bool VistamoGlobal::addThumbnail(const TThumbnailRecord &record, const QString &tableName,
                                 const QSqlDatabase &db) const
{
    return ThumbnailDatabase::add(record, tableName, db);
}

QByteArray VistamoGlobal::imageToByteArray(const QImage &image) const
{
    return ThumbnailDatabase::encoded(image);
}

QString VistamoGlobal::getThumbnailsFolder() const
{
    return ThumbnailDatabase::folder();
}

QImage VistamoGlobal::applyFilters(QImage image, int contrast, int brightness, int gamma,
                                   int invertColours) const
{
    return ColourFilters::applyLive(image, contrast, brightness, gamma, invertColours);
}

QImage VistamoGlobal::applyFilter(QImage image, int filterType, float value) const
{
    return ColourFilters::apply(image, filterType, value);
}

void VistamoGlobal::loadOptions()
{
    SlideshowOptions::load();
}
