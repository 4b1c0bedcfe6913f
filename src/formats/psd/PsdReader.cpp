#include "formats/psd/PsdReader.h"
#include "formats/Packing.h"
#include "formats/psd/PsdPixels.h"
#include "shared/image/ColourConversion.h"

#include <QColorSpace>
#include <QDataStream>
#include <QHash>
#include <QImageIOHandler>
#include <QIODevice>

#include <algorithm>
#include <bit>
#include <cstring>

namespace PsdReader {

namespace {

enum ResourceId : quint16
{
    Resolution = 1005,
    ChannelNames = 1006,
    IccProfile = 1039,
};
using Resources = QHash<quint16, QByteArray>;

struct Kind
{
    Mode mode;
    int colours; ///< channels
    int depths;  ///< a sum
};
constexpr Kind kinds[] = {
    {Mode::Bitmap, 1, 1},
    {Mode::Gray, 1, 8 | 16 | 32},
    {Mode::Indexed, 1, 8},
    {Mode::Rgb, 3, 8 | 16 | 32},
    {Mode::Cmyk, 4, 8 | 16},
    {Mode::Multichannel, 1, 8 | 16}, // as many grey pictures, of which the first serves
    {Mode::Duotone, 1, 8 | 16},
    {Mode::Lab, 3, 8 | 16},
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
        quint32 signature = 0, length = 0;
        quint16 id = 0;
        quint8 nameLength = 0;
        in >> signature >> id >> nameLength;
        in.skipRawData(nameLength | 1); // with its length a name fills an even number of bytes
        in >> length;
        const qint64 start = in.device()->pos();
        if (in.status() != QDataStream::Ok || length > section.size() - start)
            break;
        if (id == Resolution || id == ChannelNames || id == IccProfile)
            found.insert(id, section.mid(start, length));
        in.device()->seek(start + length + (length & 1));
    }
    return found;
}

/// From the beginning of the layer section, where the number of layers is negative if the merged picture is
/// transparent.
Transparency findTransparency(const Header &header, const QByteArray &section, bool namesChannels)
{
    if (header.mode == Mode::Bitmap || header.mode == Mode::Indexed || header.mode == Mode::Multichannel
        || header.channels == header.colours)
        return Transparency::None;
    QDataStream in(section);
    qint64 length = readLength(in, header.large);
    // Above 8 bits a sample the layers stand in a block of their own, behind an empty list.
    const qsizetype block = section.indexOf(header.depth == 32 ? "Lr32" : "Lr16");
    if (length == 0 && block >= 0) {
        in.device()->seek(block + 4);
        length = readLength(in, header.large);
    }
    qint16 layers = 0;
    if (length > 0)
        in >> layers;
    if (layers < 0)
        return Transparency::OnWhite;
    // A further channel of a file without layers may as well be a selection that was saved: those have names.
    return layers == 0 && !namesChannels ? Transparency::Straight : Transparency::None;
}

/// `planes` holds all reds, then all greens, then all blues.
QList<QRgb> colourTable(const Header &header, const QByteArray &planes)
{
    if (header.mode == Mode::Bitmap)
        return {qRgb(255, 255, 255), qRgb(0, 0, 0)};
    if (header.mode != Mode::Indexed)
        return {};
    QList<QRgb> table(256, qRgb(0, 0, 0));
    const auto value = [&](qsizetype at) { return static_cast<uchar>(planes[at]); };
    for (qsizetype i = 0; i + 512 < planes.size(); ++i)
        table[i] = qRgb(value(i), value(i + 256), value(i + 512));
    return table;
}

QImage::Format imageFormat(const Header &header, Transparency transparency)
{
    const bool deep = header.depth > 8 || isLinear(header);
    if (header.mode == Mode::Bitmap)
        return QImage::Format_Mono;
    if (header.mode == Mode::Indexed)
        return QImage::Format_Indexed8;
    if (transparency != Transparency::None)
        return deep ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
    if (header.colours == 1 && !isLinear(header))
        return deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    return deep ? QImage::Format_RGBX64 : QImage::Format_RGB32;
}

void setColourSpace(QImage &image, const Header &header, const QByteArray &profile)
{
    QColorSpace space;
    if (!profile.isEmpty() && header.mode != Mode::Lab)
        space = QColorSpace::fromIccProfile(profile);
    if (!isLinear(header)) {
        image.setColorSpace(space);
        return;
    }
    image.setColorSpace(header.mode == Mode::Rgb && space.isValid()
                            ? space.withTransferFunction(QColorSpace::TransferFunction::Linear)
                            : QColorSpace::SRgbLinear);
    image.convertToColorSpace(QColorSpace::SRgb);
}

void setResolution(QImage &image, const QByteArray &resource)
{
    quint32 across = 0, down = 0, units = 0; // 16.16 dots an inch
    QDataStream(resource) >> across >> units >> down;
    const auto dotsPerMetre = [](quint32 perInch) { return qRound(perInch / 65536.0 / 0.0254); };
    image.setDotsPerMeterX(dotsPerMetre(across));
    image.setDotsPerMeterY(dotsPerMetre(down));
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
    const quint32 longest = version == 2 ? 300000 : 30000;
    if (width < 1 || height < 1 || width > longest || height > longest || channels > 56)
        return {};
    const QSize size(static_cast<int>(width), static_cast<int>(height));
    for (const Kind &kind : kinds)
        if (mode == static_cast<int>(kind.mode) && channels >= kind.colours && std::has_single_bit(depth)
            && (kind.depths & depth) != 0)
            return Header{version == 2, channels, size, depth, kind.mode, kind.colours};
    return {};
}

QImage::Format imageFormat(const Header &header)
{
    return imageFormat(header,
                       header.channels > header.colours ? Transparency::Straight : Transparency::None);
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
    const QByteArray layers = readSection(device, mostOfLayers, header->large);
    const Transparency transparency =
        findTransparency(*header, layers, !resources.value(ChannelNames).isEmpty());

    QImage image;
    if (!QImageIOHandler::allocateImage(header->size, imageFormat(*header, transparency), &image))
        return {};
    image.setColorTable(colourTable(*header, table));
    QImage black;
    const bool deep = image.depth() == 64;
    if (header->mode == Mode::Cmyk
        && !QImageIOHandler::allocateImage(
            header->size, deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8, &black))
        return {};
    black.fill(Qt::white);
    const int rows = readRows(image, black, *header, transparency, device);
    if (rows == 0)
        return {};
    const bool blankIsZero = transparency != Transparency::None || image.colorCount() > 0;
    for (int y = rows; y < image.height(); ++y)
        std::memset(image.scanLine(y), blankIsZero ? 0 : 0xff, image.bytesPerLine());

    if (black.isNull())
        setColourSpace(image, *header, resources.value(IccProfile));
    else
        image = Colour::fromInks(std::move(image), black, resources.value(IccProfile))
                    .convertToFormat(imageFormat(*header, transparency));
    if (resources.contains(Resolution))
        setResolution(image, resources[Resolution]);
    return image;
}

} // namespace PsdReader
