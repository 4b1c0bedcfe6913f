#include "batch/BatchRun.h"
#include "batch/PdfJpegs.h"
#include "batch/PdfPageLayout.h"
#include "shared/image/ImageReading.h"
#include "shared/image/ImageWriting.h"
#include "shared/image/JpegEncoder.h"
#include "shared/image/ShrunkRows.h"
#include "shared/platform/HeldFiles.h"
#include "shared/platform/NewFileName.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"
#include "shared/threads/OrderedWork.h"

#include <QBuffer>
#include <QColorSpace>
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

/// What lies on a page: pixels, or a JPEG file that has them already.
struct PagePicture
{
    QImage image; ///< null if there is none
    std::optional<ImageReading::PlainJpeg> jpeg;

    /// The most that this may add to the file: the writer stores no picture larger than it is, with its
    /// alpha.
    qint64 mostBytes() const { return jpeg ? jpeg->bytes.size() : 4LL * image.width() * image.height(); }
};

/// How pictures lie on all pages of a file.
struct PageLayout
{
    QSize available;
    bool enlarge;
    bool smooth;
};

QImage pageImage(const QString &path, const PageLayout &page)
{
    const ImageReading::HeldPicture picture = ImageReading::readAndHold(path);
    const QImage image = ImageWriting::fitted(picture.image, "pdf");
    const QSize size = pdfPictureSize(image.size(), page.available, page.enlarge);
    if (size.isEmpty())
        return {};
    return image.scaled(size, Qt::IgnoreAspectRatio,
                        page.smooth ? Qt::SmoothTransformation : Qt::FastTransformation);
}

/// The picture of a page from the rows of a larger one, as the PDF writer encodes it. Nothing if that is not
/// for this picture or this page.
std::optional<ImageReading::PlainJpeg> shrunkJpeg(const QString &path, const PageLayout &page)
{
    constexpr int qualityOfWriter = 94;
    const auto picture = page.smooth ? ImageReading::openRows(path) : std::nullopt;
    const QSize size = picture ? pdfPictureSize(picture->size, page.available, page.enlarge) : QSize();
    if (size.isEmpty() || size.boundedTo(picture->size) != size)
        return {};
    const QColorSpace colours = picture->pixel.colorSpace();
    if (!colours.iccProfile().isEmpty() && colours != QColorSpace(QColorSpace::SRgb))
        return {};
    QImage pixel(1, 1, picture->isGrey() ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
    pixel.fill(Qt::white);
    QBuffer like, file;
    const bool isEncoded = like.open(QIODevice::WriteOnly) && file.open(QIODevice::WriteOnly)
                           && pixel.save(&like, "jpg", qualityOfWriter);
    JpegEncoder encoder(file);
    if (!isEncoded || !encoder.start(like.data(), size, JpegEncoder::Codes::Usual)
        || !shrinkRows(*picture, size, [&](uchar *row) { return encoder.write(row); }) || !encoder.finish())
        return {};
    return ImageReading::PlainJpeg{file.data(), size, picture->isGrey()};
}

PagePicture pagePicture(const QString &path, const PageLayout &page)
{
    const auto isUnscaled = [&page](QSize size) {
        return pdfPictureSize(size, page.available, page.enlarge) == size;
    };
    if (auto jpeg = ImageReading::readPlainJpeg(path, isUnscaled))
        return {{}, std::move(jpeg)};
    if (auto jpeg = shrunkJpeg(path, page))
        return {{}, std::move(jpeg)};
    return {pageImage(path, page), {}};
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

/// Gives the number of pages that are in the file.
qsizetype writePages(ReplacementFile &file, PdfJpegs &jpegs, const BatchRun &run, const RunObserver &observer,
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
    const PageLayout layout{pdfAvailableSize(page, margin), options.resizeImageToPaper,
                            options.pdfSmoothEdges};
    QPainter painter(&writer);

    const qint64 pageBytes = std::max<qint64>(4LL * page.width() * page.height(), 1);
    const qint64 atOnce = std::min<qint64>(pagesBytes / pageBytes, QThread::idealThreadCount());
    OrderedWork<PagePicture> pictures(static_cast<int>(std::max<qint64>(atOnce, 1)));
    qsizetype started = 0;
    qsizetype pages = 0;
    for (; pages < sources.size() && !observer.isStopped(); ++pages) {
        for (; started < sources.size() && !pictures.isFull(); ++started) {
            observer.fileBegins(sources[started]);
            pictures.start([path = sources[started], layout] { return pagePicture(path, layout); });
        }
        const PagePicture picture = pictures.takeNext();
        if (pages > 0 && file.size() + picture.mostBytes() + (pages + 1) * bytesBesidePicture > mostBytes)
            break;
        if (pages > 0)
            writer.newPage();
        if (!picture.jpeg)
            painter.drawImage(margin, margin, picture.image);
        else if (!jpegs.draw(painter, {margin, margin}, *picture.jpeg))
            painter.drawImage(margin, margin, pageImage(sources[pages], layout));
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
    PdfJpegs jpegs(file);
    const qsizetype pages = writePages(file, jpegs, run, observer, mostBytes);
    if (observer.isStopped())
        return pages;

    std::optional<std::pair<QString, QString>> previous; // its path aside, and its place
    const auto makeWay = [&](const QString &target) {
        const auto aside = setAside(target, heldFiles);
        if (aside)
            previous = std::pair(*aside, target);
        return aside.has_value();
    };
    const bool written = jpegs.finish() && (keepsPrevious ? file.commitAsNew(makeWay) : file.commit());
    if (!written && previous && !Platform::renameToNew(previous->first, previous->second, heldFiles))
        qDebug() << "Cannot put back" << previous->first;
    return pages;
}
