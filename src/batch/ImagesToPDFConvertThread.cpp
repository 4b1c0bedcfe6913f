#include "batch/ImagesToPDFConvertThread.h"

#include "batch/FilesInHand.h"
#include "formats/gif/GifEncoder.h"
#include "shared/image/ImageReading.h"
#include "shared/platform/ReplacementFile.h"

#include <QColorSpace>
#include <QFileInfo>
#include <QImageWriter>
#include <QtDebug>

#include <algorithm>

namespace {

struct Conversion
{
    QString source;
    QString target;
    bool overwrite;
    int jpgQuality;
};

[[nodiscard]] bool commit(ReplacementFile &file, bool overwrite)
{
    return overwrite ? file.commit() : file.commitAsNew();
}

/// A picture that cannot be read makes a file of 0 x 0 pixels, but never in the place of another.
void saveGif(const QImage &image, const Conversion &conversion)
{
    ReplacementFile file(conversion.target);
    const bool replaces = conversion.overwrite && !image.isNull();
    if (!file.create() || !GifEncoder::write(image, file) || !commit(file, replaces))
        qDebug() << "Cannot write: " << conversion.target << " " << file.errorString();
}

void save(const QImage &image, const QByteArray &format, const Conversion &conversion)
{
    ReplacementFile file(conversion.target);
    QImageWriter writer(&file, format);
    if (format == "jpg")
        writer.setQuality(conversion.jpgQuality);
    writer.setOptimizedWrite(true);
    writer.setProgressiveScanWrite(true);
    if (!file.create() || !writer.write(image) || !commit(file, conversion.overwrite)) {
        qDebug() << "Cannot write: " << conversion.target << " " << writer.errorString()
                 << file.errorString();
        qDebug() << QImageWriter::supportedImageFormats();
    }
}

/// The picture as `format` can carry it. A profile of one model, gray or RGB, on pixels of the other is
/// refused or dropped by writers and readers, and Qt's JPEG writer drops that of every gray picture: there
/// the colours become sRGB, which is what a reader assumes.
QImage withWritableProfile(QImage image, const QByteArray &format)
{
    const QByteArray profile = image.colorSpace().iccProfile();
    const bool grayPixels = QImage::toPixelFormat(image.format()).colorModel() == QPixelFormat::Grayscale;
    const bool grayProfile = profile.mid(16, 4) == "GRAY"; // the header's field for the model
    if (!profile.isEmpty() && (grayPixels != grayProfile || (grayPixels && format == "jpg")))
        image.convertToColorSpace(QColorSpace::SRgb);
    return image;
}

void convert(const Conversion &conversion)
{
    const QByteArray format = QFileInfo(conversion.target).suffix().toLower().toLatin1();
    const bool gif = format == "gif";
    using ImageReading::Colours;
    // A GIF has no profile that would say what the colours mean.
    const auto picture =
        ImageReading::readAndHold(conversion.source, gif ? Colours::Srgb : Colours::AsStored);
    qDebug() << "targetFileName #2: " << conversion.target;
    if (gif)
        saveGif(picture.image, conversion);
    else
        save(withWritableProfile(picture.image, format), format, conversion);
}

} // namespace

ImagesToPDFConvertThread::ImagesToPDFConvertThread(QObject *parent)
    : StoppableThread(parent)
    , options(BatchOptions::current())
{
    setObjectName(QStringLiteral("Convert"));
}

void ImagesToPDFConvertThread::run()
{
    if (!stopRequested)
        isConvertMode ? convertImages() : createPdf();
    if (stopRequested)
        emit threadTerminated();
    else
        emit threadCompleted(fileExistsList, fileSourceList);
}

void ImagesToPDFConvertThread::convertImages()
{
    qDebug() << "convertImages";
    fileExistsList.clear();
    fileSourceList.clear();
    FilesInHand filesInHand(std::max(QThread::idealThreadCount(), 1));
    for (const QString &source : sourceFiles) {
        const QString target = convertTarget(source, targetPath, targetExtension);
        filesInHand.waitFor({source, target});
        if (stopRequested)
            return;
        emit updateFileName(source);
        qDebug() << "targetFileName #1: " << target;
        if (!overwrite && QFileInfo::exists(target)) {
            fileExistsList.append(target);
            fileSourceList.append(source);
            continue;
        }
        const Conversion conversion = {source, target, overwrite, options.targeFileQuality};
        filesInHand.start([conversion] { convert(conversion); });
    }
}
