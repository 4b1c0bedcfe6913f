#include "shared/image/DecodingNeed.h"

#include "shared/image/JpegMarkers.h"

#include <QImageReader>

#include <algorithm>

namespace {

int bytesOfPixel(const QImageReader &reader)
{
    // Of a broken file, Qt's JPEG plug-in says what happens to stand in its memory.
    const QImage::Format format = reader.imageFormat();
    const bool isKnown = format > QImage::Format_Invalid && format < QImage::NImageFormats;
    return std::max(isKnown ? QImage::toPixelFormat(format).bitsPerPixel() / 8 : 0, 4);
}

/// What a JPEG decoder gives for a smaller picture: a half, a quarter or an eighth, but no less.
QSize jpegStep(QSize full, QSize scaled)
{
    int step = 8;
    while (step > 1 && (full.width() / step < scaled.width() || full.height() / step < scaled.height()))
        step /= 2;
    return {(full.width() + step - 1) / step, (full.height() + step - 1) / step};
}

} // namespace

DecodingNeed decodingNeed(const QImageReader &reader, QIODevice &file)
{
    const QSize full = reader.supportsOption(QImageIOHandler::Size) ? reader.size() : QSize();
    if (full.isEmpty())
        return {};
    const auto bytesOf = [each = bytesOfPixel(reader)](QSize size) {
        return static_cast<qint64>(size.width()) * size.height() * each;
    };
    const QSize scaled = reader.scaledSize();
    const QByteArray format = reader.format();
    if (format == "jpeg")
        return {2 * bytesOf(scaled.isValid() ? jpegStep(full, scaled) : full),
                JpegMarkers::coefficientBytes(file).value_or(0)};
    if (format == "webp" && scaled.isValid())
        return {2 * bytesOf(scaled), 2 * bytesOf(full)}; // what is not decoded in rows is scaled as a whole
    if (format == "orrelan-tiff")
        return {2 * bytesOf(scaled.isValid() ? scaled : full),
                reader.text(QStringLiteral("DecodingBytes")).toLongLong()};
    return {2 * bytesOf(full), 0};
}
