// Holds the shrinking of HEIC and AVIF pictures against the means of the whole picture: of pictures of the
// kind that the bytes say, with their other bytes as pixels.

#include "Choices.h"

#include "formats/heif/HeifReader.h"
#include "formats/heif/HeifWriter.h"
#include "support/Shrunk.h"

#include <QBuffer>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Choices choices(data, size);
    const auto next = [&](int most) { return choices.next(most); };
    const auto coding = next(2) ? HeifWriter::Coding::Av1 : HeifWriter::Coding::Hevc;
    const int quality = next(101);
    const bool isDeep = next(2);
    const QSize full(1 + next(128), 1 + next(96));
    const QSize scaled(1 + next(full.width()), 1 + next(full.height()));
    QImage picture = choices.picture(full, isDeep ? QImage::Format_RGBX64 : QImage::Format_RGB32);
    picture.setColorSpace(next(2) ? QColorSpace::DisplayP3 : QColorSpace::SRgb);

    QBuffer buffer;
    if (!buffer.open(QIODevice::ReadWrite))
        std::abort();
    if (!HeifWriter::write(picture, buffer, coding, quality))
        return 0;
    const auto read = [&](QSize size) {
        buffer.seek(0);
        return HeifReader(buffer).read(size);
    };
    const QImage shrunk = read(scaled);
    if (shrunk.size() != scaled
        || (scaled != full && !Shrunk::isOf(read({}).convertToFormat(shrunk.format()), shrunk)))
        std::abort();
    return 0;
}
