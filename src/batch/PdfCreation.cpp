#include "batch/BatchRun.h"
#include "batch/PdfPageLayout.h"
#include "shared/image/ImageReading.h"
#include "shared/image/ImageWriting.h"
#include "shared/platform/HeldFiles.h"
#include "shared/platform/NewFileName.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"
#include "shared/threads/OrderedWork.h"

#include <QDir>
#include <QFileInfo>
#include <QPainter>
#include <QPdfWriter>
#include <QtDebug>
#include <QThread>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

// Pages that are prepared in parallel may take this together; larger ones come one by one.
constexpr qint64 pagesBytes = 512LL * 1024 * 1024;
// What each page has besides its picture: its description, and lines in the file's table of contents.
constexpr qint64 bytesBesidePicture = 10 * 1024;

/// The picture as it lies on the page; null if there is none.
QImage pageImage(const QString &path, QSize available, bool enlarge, bool smooth)
{
    const ImageReading::HeldPicture picture = ImageReading::readAndHold(path);
    const QImage image = ImageWriting::fitted(picture.image, "pdf");
    const QSize size = pdfPictureSize(image.size(), available, enlarge);
    if (size.isEmpty())
        return {};
    return image.scaled(size, Qt::IgnoreAspectRatio,
                        smooth ? Qt::SmoothTransformation : Qt::FastTransformation);
}

/// Gives a file another name beside it. Its new path, or nothing if that failed.
std::optional<QString> setAside(const QString &path, HeldFiles &heldFiles)
{
    const QFileInfo info(path);
    const QString base = info.path() + QLatin1Char('/') + info.completeBaseName();
    for (int i = 1; i < 1000; ++i) {
        const QString number = i == 1 ? QString() : QStringLiteral(" %1").arg(i);
        const QString aside = QStringLiteral("%1 (previous%2).%3").arg(base, number, info.suffix());
        if (Platform::renameToNew(path, aside, heldFiles))
            return aside;
        if (!QFileInfo::exists(aside))
            break;
    }
    return std::nullopt;
}

/// The most that a page may add to the file: the writer stores no picture larger than it is, with its alpha.
qint64 mostBytesOf(const QImage &picture)
{
    return 4LL * picture.width() * picture.height();
}

/// Gives the number of pages that are in the file.
qsizetype writePages(ReplacementFile &file, const BatchRun &run, const RunObserver &observer,
                     qint64 mostBytes)
{
    const QStringList &sources = run.sourceFiles;
    const BatchOptions &options = run.options;
    QPdfWriter writer(&file);
    writer.setPdfVersion(QPagedPaintDevice::PdfVersion_1_6);
    writer.setResolution(getResolution(options.pdfQuality));
    QSizeF points;
    writer.setPageSize(getPageSize(options.pageSize, &points));
    const int margin = pdfMargin(options);
    writer.setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Millimeter);
    writer.setPageOrientation(options.pageOrientation == 0 ? QPageLayout::Portrait : QPageLayout::Landscape);
    const QSize page(writer.width(), writer.height());
    const QSize available = pdfAvailableSize(page, margin);
    QPainter painter(&writer);

    const qint64 pageBytes = std::max<qint64>(4LL * page.width() * page.height(), 1);
    const qint64 atOnce = std::min<qint64>(pagesBytes / pageBytes, QThread::idealThreadCount());
    OrderedWork<QImage> images(static_cast<int>(std::max<qint64>(atOnce, 1)));
    qsizetype started = 0;
    qsizetype pages = 0;
    for (; pages < sources.size() && !observer.isStopped(); ++pages) {
        for (; started < sources.size() && !images.isFull(); ++started) {
            observer.fileBegins(sources[started]);
            images.start(
                [path = sources[started], available, enlarge = options.resizeImageToPaper,
                 smooth = options.pdfSmoothEdges] { return pageImage(path, available, enlarge, smooth); });
        }
        const QImage picture = images.takeNext();
        if (pages > 0 && file.size() + mostBytesOf(picture) + (pages + 1) * bytesBesidePicture > mostBytes)
            break;
        if (pages > 0)
            writer.newPage();
        painter.drawImage(margin, margin, picture);
    }
    return pages;
}

} // namespace

qsizetype createPdf(const BatchRun &run, const RunObserver &observer, qint64 mostBytes)
{
    const QString path = run.options.outputFolder + QLatin1Char('/') + run.options.pdfFileName;
    HeldFiles heldFiles;
    ReplacementFile file(path, heldFiles);
    if (!isNewFileName(run.options.pdfFileName) || !file.create()) {
        for (const QString &source : run.sourceFiles)
            observer.fileBegins(source);
        return run.sourceFiles.size();
    }
    // Where the user was not asked, or asked for another name, what stands there in the end is kept.
    const bool keepsPrevious =
        !QFileInfo::exists(path) || QDir::cleanPath(run.targetPath) != QDir::cleanPath(path);
    const qsizetype pages = writePages(file, run, observer, mostBytes);
    if (observer.isStopped())
        return pages;

    std::optional<std::pair<QString, QString>> previous; // its path aside, and its place
    const auto makeWay = [&](const QString &target) {
        const auto aside = setAside(target, heldFiles);
        if (aside)
            previous = std::pair(*aside, target);
        return aside.has_value();
    };
    const bool written = keepsPrevious ? file.commitAsNew(makeWay) : file.commit();
    if (!written && previous && !Platform::renameToNew(previous->first, previous->second, heldFiles))
        qDebug() << "Cannot put back" << previous->first;
    return pages;
}
