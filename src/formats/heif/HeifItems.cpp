#include "formats/heif/HeifItems.h"

#include "formats/heif/HeifBits.h"
#include "formats/heif/HeifCodedSize.h"
#include "formats/heif/HeifLimits.h"

#include <QIODevice>

#include <algorithm>
#include <map>
#include <vector>

using Heif::Bits, Heif::mostBoxes, Heif::mostItems, Heif::mostParts, Heif::mostPlaces;

namespace {

constexpr qint64 mostMetadata = 16 * 1024 * 1024; // bytes
constexpr int mostUnits = 20000;                  // of coded data in the file
constexpr int mostReferences = 100000;            // between items, of all kinds
constexpr int mostDepth = 8;                      // an overlay of grids with alpha takes 4
constexpr qint64 mostArea = qint64(1) << 40;      // pixels; sums of it stay in range

// A grid's tiles cover up to four times its area, its alpha's as much again.
constexpr qint64 proportion = 8;
constexpr qint64 spare = 64 * 1000 * 1000; // pixels, decoded in one or two seconds

struct Place
{
    qint64 position;
    qint64 length;
};

/// A picture of the file, or some other data.
struct Item
{
    QByteArray type;
    bool inMetadata = false;
    std::vector<Place> places;
    std::vector<quint32> parts; ///< what it is made of
    QSize told{0, 0};           ///< by its properties
    QSize size{0, 0};           ///< that its data takes
    std::vector<Heif::Turn> turns;

    bool isCoded() const { return type == "hvc1" || type == "av01"; }
    bool isComposed() const { return type == "grid" || type == "iovl"; }
};

qint64 area(QSize size)
{
    return std::min(static_cast<qint64>(size.width()) * size.height(), mostArea);
}

QSize sizeFrom(Bits &bits, int bitsEach)
{
    const auto number = [&] { return static_cast<int>(std::min<quint64>(bits.take(bitsEach), 1 << 30)); };
    const int width = number();
    return {width, number()};
}

struct Box
{
    QByteArray type;
    QByteArray contents;
};

struct BoxHead
{
    QByteArray type;
    qint64 bytes;
    qint64 length; ///< with the head; 0 if it is broken
    bool cut;      ///< says to be longer than what there is
};

BoxHead headOf(const QByteArray &bytes, qint64 left)
{
    Bits bits(bytes);
    quint64 length = bits.take(32);
    bits.skip(32);
    const int head = length == 1 ? 16 : 8;
    if (length == 1)
        length = bits.take(64);
    const auto most = static_cast<quint64>(left);
    const bool cut = length > most;
    length = length == 0 ? most : std::min(length, most);
    return {bytes.mid(4, 4), head, length < static_cast<quint64>(head) ? 0 : static_cast<qint64>(length),
            cut};
}

/// What a file says of its items.
class ItemTable
{
public:
    ItemTable(QIODevice &source, qint64 sourceStart)
        : device(source)
        , start(sourceStart)
    {
    }

    [[nodiscard]] bool read();
    [[nodiscard]] std::optional<Heif::PictureItems> pictures();

private:
    [[nodiscard]] bool readMetadata(const QByteArray &metadata);
    [[nodiscard]] bool readTypes(const QByteArray &box);
    [[nodiscard]] bool readPlaces(const QByteArray &box);
    [[nodiscard]] bool readParts(const QByteArray &box);
    [[nodiscard]] bool readProperties(const QByteArray &box);
    [[nodiscard]] bool measure(Item &item);
    std::vector<Box> boxesIn(const QByteArray &bytes, qsizetype at = 0);
    QByteArray bytesAt(qint64 position, qint64 length);
    QByteArray dataOf(const Item &item, qint64 position, qint64 length);
    [[nodiscard]] std::optional<qint64> cost(quint32 id, int depth);

    QIODevice &device;
    qint64 start;
    QByteArray inlineData;
    std::map<quint32, Item> items;
    int units = mostUnits;
    int boxesLeft = mostBoxes;
    int visits = 0;
};

std::vector<Box> ItemTable::boxesIn(const QByteArray &bytes, qsizetype at)
{
    std::vector<Box> boxes;
    while (at + 8 <= bytes.size() && boxesLeft > 0) {
        const BoxHead head = headOf(bytes.mid(at, 16), bytes.size() - at);
        if (head.length == 0 || head.cut) { // others might find further boxes where this one finds none
            boxesLeft = 0;
            break;
        }
        --boxesLeft;
        boxes.push_back({head.type, bytes.mid(at + head.bytes, head.length - head.bytes)});
        at += head.length;
    }
    return boxes;
}

QByteArray ItemTable::bytesAt(qint64 position, qint64 length)
{
    return device.seek(start + position) ? device.read(length) : QByteArray();
}

bool ItemTable::read()
{
    const qint64 end = device.size() - start;
    for (qint64 at = 0; at + 8 <= end;) {
        const BoxHead head = headOf(bytesAt(at, 16), end - at);
        if (head.length == 0)
            break; // what other programs leave behind the last box; libheif looks no further either
        if (--boxesLeft <= 0)
            return false;
        const qint64 length = head.length - head.bytes;
        if (head.type == "meta"
            && (!items.empty() || length > mostMetadata || !readMetadata(bytesAt(at + head.bytes, length))))
            return false;
        at += head.length;
    }
    return boxesLeft > 0
           && std::all_of(items.begin(), items.end(), [this](auto &item) { return measure(item.second); });
}

bool ItemTable::readMetadata(const QByteArray &metadata)
{
    for (const Box &box : boxesIn(metadata, 4)) { // behind the version and flags
        if (box.type == "idat" && inlineData.isEmpty())
            inlineData = box.contents;
        else if ((box.type == "iref" && !readParts(box.contents))
                 || (box.type == "iprp" && !readProperties(box.contents))
                 || (box.type == "iinf" && !readTypes(box.contents))
                 || (box.type == "iloc" && !readPlaces(box.contents)))
            return false;
    }
    return true;
}

bool ItemTable::readTypes(const QByteArray &box)
{
    for (const Box &entry : boxesIn(box, box.startsWith('\0') ? 6 : 8)) {
        Bits bits(entry.contents.left(16));
        const quint64 version = bits.take(8);
        bits.skip(24);
        const auto id = static_cast<quint32>(bits.take(version < 3 ? 16 : 32));
        const QByteArray type = version < 2 ? "data" : entry.contents.mid(version < 3 ? 8 : 10, 4);
        Item &item = items[id];
        if (items.size() > mostItems || (!item.type.isEmpty() && item.type != type))
            return false;
        item.type = type;
    }
    return true;
}

bool ItemTable::readPlaces(const QByteArray &box)
{
    Bits bits(box);
    const quint64 version = bits.take(8);
    bits.skip(24);
    const int offsetBits = static_cast<int>(bits.take(4)) * 8;
    const int lengthBits = static_cast<int>(bits.take(4)) * 8;
    const int baseBits = static_cast<int>(bits.take(4)) * 8;
    const int indexBits = static_cast<int>(bits.take(4)) * (version > 0 ? 8 : 0);
    const quint64 count = bits.take(version < 2 ? 16 : 32);
    for (quint64 i = 0; i < std::min(count, mostItems) && !bits.atEnd(); ++i) {
        Item &item = items[static_cast<quint32>(bits.take(version < 2 ? 16 : 32))];
        const quint64 method = version > 0 ? bits.take(16) & 15 : 0;
        bits.skip(16);
        const quint64 base = bits.take(baseBits);
        const quint64 places = bits.take(16);
        if (!item.places.empty() || places > mostPlaces)
            return false;
        item.inMetadata = method == 1;
        for (quint64 place = 0; place < places; ++place) {
            bits.skip(indexBits);
            const quint64 position = base + bits.take(offsetBits);
            const quint64 length = bits.take(lengthBits);
            const auto end = static_cast<quint64>(device.size() - start);
            if (method < 2 && position < end)
                item.places.push_back(
                    {static_cast<qint64>(position), static_cast<qint64>(std::min(length, end - position))});
        }
    }
    return count <= mostItems;
}

bool ItemTable::readParts(const QByteArray &box)
{
    const int idBits = box.startsWith('\0') ? 16 : 32;
    int count = 0;
    for (const Box &reference : boxesIn(box, 4)) {
        Bits bits(reference.contents);
        const auto from = static_cast<quint32>(bits.take(idBits));
        const quint64 references = bits.take(16);
        if (static_cast<quint64>(reference.contents.size()) * 8 != idBits * (references + 1) + 16)
            return false; // libheif goes by the number and not by the length
        for (quint64 left = references; left > 0; --left) {
            const auto to = static_cast<quint32>(bits.take(idBits));
            if (++count > mostReferences)
                return false;
            if (reference.type == "dimg")
                items[from].parts.push_back(to);
            else if (reference.type == "auxl") // alpha comes with the picture that it belongs to
                items[to].parts.push_back(from);
        }
    }
    return true;
}

/// A clean aperture, told in fractions.
Heif::Turn cropFrom(Bits &bits)
{
    const auto fraction = [&bits] {
        const auto above = static_cast<qint32>(bits.take(32));
        const auto below = static_cast<double>(bits.take(32));
        return below > 0 ? above / below : 0;
    };
    const double width = fraction();
    const double height = fraction();
    const double right = fraction();
    return {Heif::Turn::Crop, 0, {width, height}, {right, fraction()}};
}

bool ItemTable::readProperties(const QByteArray &box)
{
    struct Property
    {
        QSize told{0, 0};
        QSize size{0, 0};
        std::optional<Heif::Turn> turn;
    };
    std::vector<Property> properties;
    const std::vector<Box> boxes = boxesIn(box);
    for (const Box &container : boxes) {
        for (const Box &entry : container.type == "ipco" ? boxesIn(container.contents) : std::vector<Box>()) {
            Property property;
            Bits bits(entry.contents.left(32));
            if (entry.type == "ispe") {
                bits.skip(32);
                property.told = sizeFrom(bits, 32);
            } else if (entry.type == "irot")
                property.turn = {Heif::Turn::Quarters, static_cast<int>(bits.take(8) & 3)};
            else if (entry.type == "imir")
                property.turn = {Heif::Turn::Mirror, static_cast<int>(bits.take(8) & 1)};
            else if (entry.type == "clap")
                property.turn = cropFrom(bits);
            else if (entry.type == "hvcC")
                property.size = Heif::hevcConfigurationSize(entry.contents);
            else if (entry.type == "av1C")
                property.size = Heif::av1StreamSize(
                    [&](qint64 at, qint64 length) { return entry.contents.mid(4 + at, length); },
                    entry.contents.size() - 4, units);
            properties.push_back(property);
        }
    }
    for (const Box &links : boxes) {
        if (links.type != "ipma")
            continue;
        Bits bits(links.contents);
        const int idBits = bits.take(8) < 1 ? 16 : 32;
        const int indexBits = bits.take(24) & 1 ? 15 : 7;
        const quint64 linked = bits.take(32);
        if (linked > mostItems)
            return false;
        for (quint64 left = linked; left > 0 && !bits.atEnd(); --left) {
            Item &item = items[static_cast<quint32>(bits.take(idBits))];
            for (quint64 count = bits.take(8); count > 0 && !bits.atEnd(); --count) {
                bits.skip(1);
                const quint64 index = bits.take(indexBits);
                if (index < 1 || index > properties.size())
                    continue;
                item.told = Heif::larger(item.told, properties[index - 1].told);
                item.size = Heif::larger(item.size, properties[index - 1].size);
                if (const auto &turn = properties[index - 1].turn)
                    item.turns.push_back(*turn);
            }
        }
    }
    return true;
}

QByteArray ItemTable::dataOf(const Item &item, qint64 position, qint64 length)
{
    QByteArray data;
    for (const Place &place : item.places) {
        const qint64 here = std::min(length - data.size(), place.length - position);
        if (here > 0)
            data += item.inMetadata ? inlineData.mid(place.position + position, here)
                                    : bytesAt(place.position + position, here);
        position = std::max<qint64>(0, position - place.length);
    }
    return data;
}

/// The size that the item's data takes; false if a picture does not say it.
bool ItemTable::measure(Item &item)
{
    if (item.isCoded()) {
        qint64 length = 0;
        for (const Place &place : item.places)
            length += place.length;
        const auto read = [&](qint64 at, qint64 count) { return dataOf(item, at, count); };
        item.size = Heif::larger(item.size, item.type == "av01" ? Heif::av1StreamSize(read, length, units)
                                                                : Heif::hevcStreamSize(read, length, units));
    } else if (item.isComposed()) {
        Bits bits(dataOf(item, 0, 32));
        bits.skip(8);
        const int bitsEach = bits.take(8) & 1 ? 32 : 16;
        bits.skip(item.type == "grid" ? 16 : 64); // rows and columns, or the background
        item.size = sizeFrom(bits, bitsEach);
    }
    return units > 0 && (!item.size.isEmpty() || !(item.isCoded() || item.isComposed()));
}

/// Pixels gone through to decode the item; nothing if they are out of proportion, or have no end.
std::optional<qint64> ItemTable::cost(quint32 id, int depth)
{
    const auto found = items.find(id);
    if (depth > mostDepth || ++visits > mostParts)
        return std::nullopt;
    if (found == items.end())
        return 0;
    const Item &item = found->second;
    qint64 pixels = area(item.size);
    for (const quint32 part : item.parts) {
        const std::optional<qint64> more = cost(part, depth + 1);
        if (!more)
            return std::nullopt;
        pixels += *more;
    }
    const qint64 told = area(item.told.isEmpty() ? item.size : item.told);
    if (!item.size.isEmpty() && pixels > proportion * told + spare)
        return std::nullopt;
    return pixels;
}

std::optional<Heif::PictureItems> ItemTable::pictures()
{
    Heif::PictureItems found{{0, 0}, {}};
    for (const auto &[id, item] : items) {
        if (!cost(id, 0))
            return std::nullopt;
        found.largest = Heif::larger(found.largest, item.size);
        if (!item.turns.empty())
            found.turns[id] = item.turns;
    }
    return found;
}

} // namespace

std::optional<Heif::PictureItems> Heif::pictureItems(QIODevice &device, qint64 start)
{
    ItemTable items(device, start);
    return items.read() ? items.pictures() : std::nullopt;
}
