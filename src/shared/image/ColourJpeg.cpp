#include "shared/image/ColourJpeg.h"

#include "shared/image/ColourConversion.h"
#include "shared/image/JpegDecoder.h"

#include <QByteArray>
#include <QImageIOHandler>
#include <QtEndian>

#include <algorithm>
#include <vector>

namespace {

/// True for a frame of four components, as far as markers stand before it without padding.
bool hasFourComponents(QIODevice &file)
{
    constexpr int mostMarkers = 1000;
    if (!file.seek(0) || file.read(2) != "\xff\xd8")
        return false;
    for (int i = 0; i < mostMarkers; ++i) {
        const QByteArray head = file.read(4);
        if (head.size() < 4 || head[0] != '\xff')
            return false;
        const auto marker = static_cast<uchar>(head[1]);
        const bool isFrame =
            marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (isFrame)
            return file.read(6).endsWith('\4');
        const int length = qFromBigEndian<quint16>(head.constData() + 2);
        if (length < 2 || file.skip(length - 2) != length - 2)
            return false;
    }
    return false;
}

} // namespace

QImage readInkJpeg(QIODevice &file, QSize scaled)
{
    if (!hasFourComponents(file) || !file.seek(0))
        return {};
    JpegDecoder decoder(file);
    if (!decoder.start(JpegDecoder::Model::Inks, scaled))
        return {};
    const QByteArray profile = decoder.profile();
    QImage inked, black;
    if (profile.isEmpty() || !QImageIOHandler::allocateImage(decoder.size(), QImage::Format_RGBX8888, &inked)
        || !QImageIOHandler::allocateImage(decoder.size(), QImage::Format_Grayscale8, &black))
        return {};
    inked.fill(Qt::white);
    black.fill(Qt::white);
    std::vector<uchar> row(4 * static_cast<size_t>(inked.width()));
    for (int y = 0; y < inked.height() && decoder.read(row.data()); ++y) {
        uchar *pixel = inked.scanLine(y);
        uchar *key = black.scanLine(y);
        for (size_t x = 0; x < row.size(); x += 4, pixel += 4) {
            std::copy_n(row.data() + x, 3, pixel);
            *key++ = row[x + 3];
        }
    }
    inked.setDotsPerMeterX(decoder.resolution().width());
    inked.setDotsPerMeterY(decoder.resolution().height());
    const QImage image = Colour::fromInks(std::move(inked), black, profile);
    return scaled.isEmpty() ? image : image.scaled(scaled, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}
