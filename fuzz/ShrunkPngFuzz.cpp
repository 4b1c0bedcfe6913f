// Holds the shrinking of PNG pictures against that of Qt's plug-in: of a file as it comes, and of one whose
// rows are the bytes.

#include "shared/image/ShrunkPng.h"
#include "shared/platform/Platform.h"
#include "support/PngFiles.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>

#include <cstdlib>

void Platform::useLargePages(void *, size_t) {}

namespace {

QImage decoded(QByteArray file, QSize scaled = {})
{
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    reader.setScaledSize(scaled);
    return reader.read();
}

/// Ends the program if the plug-in makes another picture of the file, and gives whether it makes one of ours.
bool compare(QByteArray file, QSize size)
{
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    const QByteArray shrunk = shrunkPng(buffer, size);
    if (shrunk.isEmpty())
        return false;
    const QImage image = decoded(shrunk);
    const QImage expected = decoded(file, size);
    // Of a stream that zlib refuses, libdeflate may take all.
    if (!image.isNull() && !expected.isNull()
        && (!PngFiles::isAsThePlugin(image, expected) || image.text() != expected.text()
            || image.colorSpace() != expected.colorSpace()))
        std::abort();
    return !image.isNull();
}

/// A file with these rows: the first bytes say the picture's kind and size, those of the smaller one, and
/// which chunk stands before the pixels.
void compareRows(QByteArray bytes)
{
    const auto next = [&](int most) {
        const int number = bytes.isEmpty() ? 0 : static_cast<uchar>(bytes.front());
        bytes.remove(0, 1);
        return number % most;
    };
    const QList<PngFiles::ColourType> types = PngFiles::shrunkTypes();
    const PngFiles::ColourType type = types[next(static_cast<int>(types.size()))];
    const QSize full(1 + next(64), 1 + next(64));
    const QSize size(1 + next(full.width()), 1 + next(full.height()));
    const QByteArray extra = bytes.left(next(40));
    const qsizetype row = 1 + PngFiles::channels(type) * full.width();
    bytes.resize(row * full.height(), '\x80');
    for (int y = 0; y < full.height(); ++y)
        bytes[y * row] = static_cast<char>(static_cast<uchar>(bytes[y * row]) % 5);
    const QByteArray chunks =
        PngFiles::header(full, type) + (extra.isEmpty() ? QByteArray() : PngFiles::chunk("gAMA", extra));
    if (!compare(PngFiles::file(chunks, PngFiles::packed(bytes)), size))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QImageReader::setAllocationLimit(64); // megabytes
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (bytes.startsWith("\x89PNG"))
        compare(bytes, QSize(3, 2));
    else
        compareRows(bytes);
    return 0;
}
