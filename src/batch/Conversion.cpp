#include "batch/BatchRun.h"
#include "batch/FilesInFlight.h"
#include "formats/gif/GifEncoder.h"
#include "shared/image/ImageReading.h"
#include "shared/image/ImageWriting.h"
#include "shared/platform/HeldFiles.h"
#include "shared/platform/ReplacementFile.h"

#include <QFileInfo>
#include <QtDebug>
#include <QThread>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

[[nodiscard]] bool commit(ReplacementFile &file, bool overwrite)
{
    return overwrite ? file.commit() : file.commitAsNew();
}

/// A picture that cannot be read makes a file of 0 x 0 pixels, but never in the place of another.
void saveGif(const QImage &image, const QString &target, bool overwrite, HeldFiles &heldFiles)
{
    ReplacementFile file(target, heldFiles);
    if (!file.create() || !GifEncoder::write(image, file) || !commit(file, overwrite && !image.isNull()))
        qDebug() << "Cannot write: " << target << " " << file.errorString();
}

int qualityFor(const QByteArray &format, const BatchRun &run)
{
    return format == "jpg" ? run.options.targeFileQuality : -1;
}

void save(const QImage &image, const QByteArray &format, const QString &source, const QString &target,
          const BatchRun &run, HeldFiles &heldFiles)
{
    ReplacementFile file(target, heldFiles);
    if (!file.create() || !ImageWriting::write(image, format, qualityFor(format, run), source, file)
        || !commit(file, run.overwrite))
        qDebug() << "Cannot write: " << target << " " << file.errorString();
}

/// The most usual case, with little memory. False, and nothing is written, if the picture has to be whole for
/// it, or if anything fails.
bool convertRows(const QString &source, const QString &target, const QByteArray &format, const BatchRun &run,
                 HeldFiles &heldFiles)
{
    auto picture = ImageWriting::takesRows(format) ? ImageReading::openRows(source) : std::nullopt;
    if (!picture || !ImageWriting::takesRows(*picture, format))
        return false;
    ReplacementFile file(target, heldFiles);
    if (!file.create() || !ImageWriting::writeRows(*picture, format, qualityFor(format, run), source, file))
        return false;
    picture.reset(); // with its memory; and the target may be the source
    return commit(file, run.overwrite);
}

void convert(const QString &source, const QString &target, const BatchRun &run, HeldFiles &heldFiles)
{
    const QByteArray format = QFileInfo(target).suffix().toLower().toLatin1();
    if (convertRows(source, target, format, run, heldFiles))
        return;
    const bool gif = format == "gif";
    using ImageReading::Colours;
    // A GIF has no profile that would say what the colours mean.
    auto picture = ImageReading::readAndHold(source, gif ? Colours::Srgb : Colours::AsStored,
                                             ImageWriting::bytesPerPixel(format));
    qDebug() << "targetFileName #2: " << target;
    picture.image = ImageWriting::fitted(std::move(picture.image), format);
    if (gif)
        saveGif(picture.image, target, run.overwrite, heldFiles);
    else
        save(picture.image, format, source, target, run, heldFiles);
}

/// How many pictures are converted in parallel.
int picturesAtOnce(const QString &extension)
{
    // Encoders that keep these threads busy with one picture, and take hundreds of megabytes for each.
    constexpr int threads = 4;
    static const QStringList busy = {".avif", ".heic", ".heif", ".jxl"};
    return std::max(QThread::idealThreadCount() / (busy.contains(extension) ? threads : 1), 1);
}

} // namespace

ExistingTargets convertImages(const BatchRun &run, const RunObserver &observer)
{
    qDebug() << "convertImages";
    ExistingTargets existing;
    HeldFiles heldFiles;
    FilesInFlight filesInFlight(picturesAtOnce(run.targetExtension));
    for (const QString &source : run.sourceFiles) {
        const QString target = convertTarget(source, run.targetPath, run.targetExtension);
        filesInFlight.waitFor({source, target});
        if (observer.isStopped())
            break;
        observer.fileBegins(source);
        qDebug() << "targetFileName #1: " << target;
        if (!run.overwrite && QFileInfo::exists(target)) {
            existing.fileExistsList.append(target);
            existing.fileSourceList.append(source);
        } else {
            filesInFlight.start(
                [source, target, &run, &heldFiles] { convert(source, target, run, heldFiles); });
        }
    }
    return existing;
}
