#include "shared/VistamoGlobal.h"

#include <QFileInfo>

#include <algorithm>

#ifdef ORRELAN_SHOW_PDF_AND_CONVERT_BUTTONS
bool VistamoGlobal::showPdfAndConvertButtons = true;
#else
bool VistamoGlobal::showPdfAndConvertButtons = false;
#endif

bool VistamoGlobal::isImageFile(const QString &fileName) const
{
    const QString extension = QLatin1Char('.') + QFileInfo(fileName).suffix();
    return std::any_of(
        imageFileExtensionList.cbegin(), imageFileExtensionList.cend(),
        [&](const QString &known) { return known.compare(extension, Qt::CaseInsensitive) == 0; });
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
