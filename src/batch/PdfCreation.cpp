#include "batch/BatchRun.h"
#include "batch/PdfPageLayout.h"
#include "shared/image/ImageReading.h"
#include "shared/image/ImageWriting.h"
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
#include <limits>
#include <optional>
#include <utility>

namespace {

// Pages that are prepared in parallel may take this together; larger ones come one by one.
constexpr qint64 pagesBytes = 512LL * 1024 * 1024;
// Qt's writer counts bytes in an int: beyond that the file's own table of contents is wrong.
constexpr qint64 largestPdf = std::numeric_limits<int>::max();

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
std::optional<QString> setAside(const QString &path)
{
    const QFileInfo info(path);
    const QString base = info.path() + QLatin1Char('/') + info.completeBaseName();
    for (int i = 1; i < 1000; ++i) {
        const QString number = i == 1 ? QString() : QStringLiteral(" %1").arg(i);
        const QString aside = QStringLiteral("%1 (previous%2).%3").arg(base, number, info.suffix());
        if (Platform::renameToNew(path, aside))
            return aside;
        if (!QFileInfo::exists(aside))
            break;
    }
    return std::nullopt;
}

void writePages(ReplacementFile &file, const BatchRun &run, const RunObserver &observer)
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
    for (qsizetype i = 0; i < sources.size() && !observer.isStopped() && file.size() <= largestPdf; ++i) {
        for (; started < sources.size() && !images.isFull(); ++started) {
            observer.fileBegins(sources[started]);
            images.start(
                [path = sources[started], available, enlarge = options.resizeImageToPaper,
                 smooth = options.pdfSmoothEdges] { return pageImage(path, available, enlarge, smooth); });
        }
        painter.drawImage(margin, margin, images.takeNext());
        if (i + 1 < sources.size())
            writer.newPage();
    }
}

} // namespace

void createPdf(const BatchRun &run, const RunObserver &observer)
{
    const QString path = run.options.outputFolder + QLatin1Char('/') + run.options.pdfFileName;
    ReplacementFile file(path);
    if (!isNewFileName(run.options.pdfFileName) || !file.create()) {
        for (const QString &source : run.sourceFiles)
            observer.fileBegins(source);
        return;
    }
    writePages(file, run, observer);
    if (observer.isStopped())
        return;
    if (file.size() > largestPdf) {
        qDebug() << "Too large for a PDF" << path << file.size();
        return;
    }

    // Where the user asked for another name, what stands at this one was not to be overwritten.
    const bool keepsPrevious = QDir::cleanPath(run.targetPath) != QDir::cleanPath(path);
    std::optional<std::pair<QString, QString>> previous; // its path aside, and its place
    const auto makeWay = [&previous](const QString &target) {
        const auto aside = setAside(target);
        if (aside)
            previous = std::pair(*aside, target);
        return aside.has_value();
    };
    const bool written = keepsPrevious ? file.commitAsNew(makeWay) : file.commit();
    if (!written && previous && !Platform::renameToNew(previous->first, previous->second))
        qDebug() << "Cannot put back" << previous->first;
}
