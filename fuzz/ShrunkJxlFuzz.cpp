// Holds the shrinking of JPEG XL pictures against that of the whole picture: of soft pictures in the colours
// and in the way of coding that the bytes say.

#include "Choices.h"

#include "formats/jxl/JxlReader.h"
#include "formats/jxl/JxlShrunk.h"
#include "support/JxlFiles.h"

#include <QBuffer>

#include <algorithm>
#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Choices choices(data, size);
    const auto next = [&](int most) { return choices.next(most); };
    JxlFiles::Kind kind{QSize(257 + next(256), 64 + next(256))};
    kind.bits = 8 + 8 * next(2);
    kind.lossy = next(8) > 0;
    kind.orientation = 1 + next(8);
    kind.settings = {{JXL_ENC_FRAME_SETTING_GROUP_ORDER, next(2)},
                     {JXL_ENC_FRAME_SETTING_RESAMPLING, 1 + next(2)},
                     {JXL_ENC_FRAME_SETTING_PROGRESSIVE_AC, next(2)},
                     {JXL_ENC_FRAME_SETTING_PROGRESSIVE_DC, next(2)},
                     {JXL_ENC_FRAME_SETTING_MODULAR, kind.lossy ? next(8) / 7 : 0}};
    const int shorter = std::min(kind.size.width(), kind.size.height()) / 8; // it may be turned
    const QSize wanted(1 + next(shorter), 1 + next(shorter));
    kind.picture = choices.picture(kind.size);

    const QByteArray file = JxlFiles::make(kind);
    QBuffer buffer;
    buffer.setData(file);
    if (!buffer.open(QIODevice::ReadOnly))
        std::abort();
    const QImage shrunk = Jxl::readShrunk(buffer, wanted).convertToFormat(QImage::Format_RGB32);
    if (shrunk.isNull())
        return 0;
    const QImage expected = JxlReader(buffer)
                                .read()
                                .scaled(wanted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                .convertToFormat(QImage::Format_RGB32);
    constexpr int tolerance = 24; // of 255: means of other numbers, and blurred over the next block
    for (int y = 0; y < wanted.height(); ++y) {
        for (int x = 0; x < wanted.width(); ++x) {
            const QColor one(shrunk.pixel(x, y)), other(expected.pixel(x, y));
            if (std::max({std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                          std::abs(one.blue() - other.blue())})
                > tolerance)
                std::abort();
        }
    }
    return 0;
}
