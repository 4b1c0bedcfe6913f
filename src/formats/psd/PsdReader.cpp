#include "formats/psd/PsdReader.h"
#include "formats/Packing.h"
#include "formats/psd/PsdPixels.h"
#include "formats/psd/PsdPlanes.h"

#include <QColorSpace>
#include <QDataStream>
#include <QImageIOHandler>
#include <QIODevice>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace PsdReader {

namespace {

struct Resources
{
    QByteArray profile;
    bool namesChannels = false;
    QList<quint32> resolution; ///< 16.16 dots an inch, across and down
    std::optional<quint16> transparentIndex;
};

struct Composition
{
    int layers = 0;
    bool transparent = false; ///< the channel after the colours is the merged picture's alpha
};

qint64 readLength(QDataStream &in, bool large)
{
    quint32 high = 0;
    quint32 low = 0;
    if (large)
        in >> high;
    in >> low;
    return static_cast<qint64>(high & 0x7fffffff) << 32 | low;
}

/// A section that begins with its length: its first bytes. The device stands behind the section then.
QByteArray readSection(QIODevice &device, qint64 most, bool large = false)
{
    QDataStream in(&device);
    const qint64 length = readLength(in, large);
    const QByteArray data = Packing::readAtMost(device, std::min(length, most));
    if (length > data.size())
        device.skip(length - data.size());
    return data;
}

Resources readResources(const QByteArray &section)
{
    Resources found;
    QDataStream in(section);
    while (!in.atEnd()) {
        quint32 signature = 0;
        quint16 id = 0;
        quint8 nameLength = 0;
        quint32 length = 0;
        in >> signature >> id >> nameLength;
        in.skipRawData(nameLength | 1); // with its length a name fills an even number of bytes
        in >> length;
        const qint64 start = in.device()->pos();
        if (in.status() != QDataStream::Ok || length > section.size() - start)
            break;
        const QByteArray data = section.mid(start, length);
        QDataStream value(data);
        if (id == 1005) {
            quint32 across = 0, down = 0, units = 0;
            value >> across >> units >> down;
            found.resolution = {across, down};
        } else if (id == 1006) {
            found.namesChannels = !data.isEmpty();
        } else if (id == 1039) {
            found.profile = data;
        } else if (id == 1047) {
            quint16 index = 0;
            value >> index;
            found.transparentIndex = index;
        }
        in.device()->seek(start + length + (length & 1));
    }
    return found;
}

/// From the beginning of the layer section. The number of layers is negative where the merged picture is
/// transparent; above 8 bits a sample it stands in a tagged block of its own, behind an empty list of layers.
Composition readComposition(const QByteArray &section, bool large)
{
    const auto composition = [](QDataStream &in) {
        qint16 count = 0;
        in >> count;
        return Composition{std::abs(count), count < 0};
    };
    QDataStream in(section);
    if (readLength(in, large) > 0)
        return composition(in);
    in.device()->skip(readLength(in, false)); // masks
    while (!in.atEnd()) {
        std::array<char, 8> name{};
        if (in.readRawData(name.data(), 8) != 8)
            break;
        const QByteArrayView key(name.data() + 4, 4);
        const bool hasLayers = key == "Lr16" || key == "Lr32";
        if (key == "Mt16" || key == "Mt32" || key == "Mtrn")
            return {1, true};
        const qint64 length = readLength(in, large && hasLayers);
        if (hasLayers && length > 0)
            return composition(in);
        in.device()->skip((length + 3) & ~qint64(3));
    }
    return {};
}

QList<QRgb> colourTable(const QByteArray &planes, const std::optional<quint16> &transparent)
{
    QList<QRgb> table(256, qRgb(0, 0, 0));
    for (qsizetype i = 0; planes.size() == 768 && i < 256; ++i) {
        const auto value = [&](int plane) { return static_cast<uchar>(planes[plane * 256 + i]); };
        table[i] = qRgb(value(0), value(1), value(2));
    }
    if (transparent && *transparent < 256)
        table[*transparent] &= 0x00ffffff;
    return table;
}

QImage::Format imageFormat(const Header &header, Transparency transparency)
{
    const bool deep = header.depth > 8;
    if (header.mode == Mode::Bitmap)
        return QImage::Format_Mono;
    if (header.mode == Mode::Indexed)
        return QImage::Format_Indexed8;
    if (transparency != Transparency::None)
        return deep ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
    if (colourChannels(header) == 1)
        return deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    return deep ? QImage::Format_RGBX64 : QImage::Format_RGB32;
}

QColorSpace colourSpace(const Header &header, const QByteArray &profile)
{
    if (header.mode == Mode::Lab)
        return QColorSpace::SRgb;
    if (colourChannels(header) == 4 || profile.isEmpty())
        return {};
    const QColorSpace space = QColorSpace::fromIccProfile(profile);
    // The samples of 32 bits are linear, and are encoded as sRGB here.
    if (header.depth == 32 && space.isValid())
        return space.withTransferFunction(QColorSpace::TransferFunction::SRgb);
    return space;
}

} // namespace

std::optional<Header> header(const QByteArray &bytes)
{
    QDataStream in(bytes);
    quint32 signature = 0, height = 0, width = 0;
    quint16 version = 0, channels = 0, depth = 0, mode = 0;
    in >> signature >> version;
    in.skipRawData(6);
    in >> channels >> height >> width >> depth >> mode;
    if (in.status() != QDataStream::Ok || signature != 0x38425053 || version < 1 || version > 2) // "8BPS"
        return {};
    const bool large = version == 2;
    const quint32 longest = large ? 300000 : 30000;
    if (width < 1 || height < 1 || width > longest || height > longest || channels < 1 || channels > 56)
        return {};
    const Header found{large, channels, QSize(static_cast<int>(width), static_cast<int>(height)), depth,
                       static_cast<Mode>(mode)};
    bool depthFits = false;
    switch (found.mode) {
    case Mode::Bitmap:
        depthFits = depth == 1;
        break;
    case Mode::Indexed:
        depthFits = depth == 8;
        break;
    case Mode::Gray:
    case Mode::Rgb:
        depthFits = depth == 8 || depth == 16 || depth == 32;
        break;
    case Mode::Cmyk:
    case Mode::Lab:
    case Mode::Duotone:
    case Mode::Multichannel:
        depthFits = depth == 8 || depth == 16;
    }
    return depthFits && channels >= colourChannels(found) ? std::optional(found) : std::nullopt;
}

QImage read(QIODevice &device)
{
    const std::optional<Header> header = PsdReader::header(device.read(headerLength));
    if (!header)
        return {};
    constexpr qint64 mostResources = 64 << 20;
    constexpr qint64 mostOfLayers = 4096; // the number of layers is near the beginning
    const QByteArray table = readSection(device, 768);
    const Resources resources = readResources(readSection(device, mostResources));
    const Composition layered =
        readComposition(readSection(device, mostOfLayers, header->large), header->large);

    // A further channel of a file without layers may as well be a selection that was saved: those have names.
    auto transparency = Transparency::None;
    const bool mayHaveAlpha =
        header->mode != Mode::Bitmap && header->mode != Mode::Indexed && header->mode != Mode::Multichannel;
    if (mayHaveAlpha && header->channels > colourChannels(*header)) {
        if (layered.transparent)
            transparency = Transparency::OnWhite;
        else if (layered.layers == 0 && !resources.namesChannels)
            transparency = Transparency::Straight;
    }

    QImage image;
    if (!QImageIOHandler::allocateImage(header->size, imageFormat(*header, transparency), &image))
        return {};
    const int used = colourChannels(*header) + (transparency == Transparency::None ? 0 : 1);
    Planes planes(*header, used, device);
    if (!planes.plausible())
        return {};
    if (header->mode == Mode::Bitmap)
        image.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
    else if (header->mode == Mode::Indexed)
        image.setColorTable(colourTable(table, resources.transparentIndex));
    const int rows = fillRows(image, *header, transparency, planes);
    if (rows == 0)
        return {};
    const bool blankIsZero =
        transparency != Transparency::None || image.depth() == 1 || image.colorCount() > 0;
    for (int y = rows; y < image.height(); ++y)
        std::memset(image.scanLine(y), blankIsZero ? 0 : 0xff, image.bytesPerLine());

    image.setColorSpace(colourSpace(*header, resources.profile));
    const auto dotsPerMetre = [](quint32 perInch) { return qRound(perInch / 65536.0 / 0.0254); };
    if (resources.resolution.size() == 2) {
        image.setDotsPerMeterX(dotsPerMetre(resources.resolution[0]));
        image.setDotsPerMeterY(dotsPerMetre(resources.resolution[1]));
    }
    return image;
}

} // namespace PsdReader
