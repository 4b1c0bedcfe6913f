#include "shared/image/JpegEighth.h"

#include "shared/image/JpegHuffman.h"
#include "shared/image/JpegProgressive.h"

#include <QColorSpace>
#include <QImageIOHandler>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <vector>

namespace {

using JpegHuffman::BitReader;
using JpegHuffman::Bytes;
using JpegHuffman::FirstCoefficients;
using JpegHuffman::Table;

using Quantiser = std::array<int, 64>; ///< steps of the coefficients in zigzag order

// Each scan costs a pass over the blocks, even an empty one; encoders make a dozen.
constexpr int mostScans = 100;

struct Component
{
    int id;
    int across; ///< blocks in a unit of the scan
    int down;
    int quantiser; ///< number of the table
    const Table *dc = nullptr;
    const Table *ac = nullptr;
    Quantiser steps{};
    int side = 1;             ///< pixels of a block across and down
    uint32_t last = 0;        ///< mean of the last block, quantised; wraps around in broken files
    std::vector<uchar> row{}; ///< pixels of one row of units

    // Of a progressive picture.
    QSize size{};                  ///< blocks that show something
    std::vector<int16_t> blocks{}; ///< all blocks of all units, quantised
    JpegProgressive::Progress progress{};

    /// How many coefficients are kept of each block: the mean alone where it is all that shows.
    size_t kept() const { return side == 1 ? 1 : 64; }
    int16_t *block(int units, int x, int y)
    {
        return &blocks[(static_cast<size_t>(units) * across * y + x) * kept()];
    }

    size_t width(int units) const { return static_cast<size_t>(units) * across * side; }
};

int word(Bytes bytes, size_t at)
{
    return bytes[at] << 8 | bytes[at + 1];
}

/// The markers that stand between the units of a scan.
class Restarts
{
public:
    explicit Restarts(int interval)
        : interval(interval)
        , left(interval)
    {
    }

    /// The marker before the next unit, if one is due.
    std::optional<int> next()
    {
        if (interval == 0 || left-- > 0)
            return {};
        left = interval - 1;
        return 0xd0 | (count++ & 7);
    }

private:
    const int interval; ///< units; 0: none
    int left;
    int count = 0;
};

bool startsWith(Bytes bytes, const char *text, size_t length)
{
    return bytes.size() >= length && std::memcmp(bytes.data(), text, length) == 0;
}

class Decoder
{
public:
    explicit Decoder(Bytes file)
        : file(file)
    {
    }

    QImage read()
    {
        if (file.size() < 4 || word(file, 0) != 0xffd8)
            return {};
        file = file.subspan(2);
        while (const std::optional<int> marker = nextMarker()) {
            if (*marker == 0xd9)
                return showBlocks() ? withProfile() : QImage();
            if (file.size() < 2 || word(file, 0) < 2 || static_cast<size_t>(word(file, 0)) > file.size())
                return {};
            const Bytes segment = file.subspan(2, word(file, 0) - 2);
            file = file.subspan(segment.size() + 2);
            if (*marker == 0xda && !isProgressive)
                return beginScan(segment) && readScan() ? withProfile() : QImage();
            if (*marker == 0xda ? !readProgressiveScan(segment) : !readSegment(*marker, segment))
                return {};
        }
        return {};
    }

private:
    std::optional<int> nextMarker()
    {
        if (file.empty() || file[0] != 0xff)
            return {};
        const auto marker = std::find_if(file.begin(), file.end(), [](uint8_t byte) { return byte != 0xff; });
        if (marker == file.end())
            return {};
        file = file.subspan(marker - file.begin() + 1);
        return *marker;
    }

    bool readSegment(int marker, Bytes segment)
    {
        switch (marker) {
        case 0xc0: // baseline
        case 0xc1: // extended sequential
        case 0xc2: // progressive
            isProgressive = marker == 0xc2;
            return readFrame(segment);
        case 0xc4:
            return readCodes(segment);
        case 0xdb:
            return readQuantisers(segment);
        case 0xdd:
            restartInterval = segment.size() == 2 ? word(segment, 0) : 0;
            return segment.size() == 2;
        case 0xe0:
            isJfif = isJfif || startsWith(segment, "JFIF", 5);
            return true;
        case 0xe2:
            // A profile has a head of 128 bytes and a table; behind the name come number and count.
            if (startsWith(segment, "ICC_PROFILE", 12) && segment.size() > 14 + 128 + 4)
                profile[segment[12]].append(reinterpret_cast<const char *>(segment.data()) + 14,
                                            static_cast<qsizetype>(segment.size()) - 14);
            return true;
        case 0xee:
            if (startsWith(segment, "Adobe", 5) && segment.size() >= 12)
                adobeTransform = segment[11];
            return true;
        default: // other metadata and comments are passed over
            return (marker & 0xf0) == 0xe0 || marker == 0xfe;
        }
    }

    bool readFrame(Bytes segment)
    {
        if (!components.empty() || segment.size() < 6 || segment[0] != 8)
            return false;
        full = QSize(word(segment, 3), word(segment, 1));
        const size_t count = segment[5];
        if (full.isEmpty() || (count != 1 && count != 3) || segment.size() != 6 + 3 * count)
            return false;
        for (size_t at = 6; at < segment.size(); at += 3) {
            const int across = segment[at + 1] >> 4;
            const int down = segment[at + 1] & 15;
            if (across < 1 || across > 2 || down < 1 || down > 2 || segment[at + 2] > 3)
                return false;
            if (!components.empty() && (across > components[0].across || down > components[0].down))
                return false;
            components.push_back({segment[at], across, down, segment[at + 2]});
        }
        if (count == 1) // not interleaved: a unit is a block
            components[0].across = components[0].down = 1;
        const auto parts = [](QSize size, int width, int height) {
            return QSize((size.width() + width - 1) / width, (size.height() + height - 1) / height);
        };
        const int across = components[0].across;
        const int down = components[0].down;
        units = parts(full, 8 * across, 8 * down);
        for (Component &component : components) {
            // As colours are halved both ways, each block has detail for four pixels.
            component.side = 2 * component.across == across && 2 * component.down == down ? 2 : 1;
            component.size = parts(QSize(full.width() * component.across, full.height() * component.down),
                                   8 * across, 8 * down);
        }
        return true;
    }

    bool readCodes(Bytes segment)
    {
        while (segment.size() >= 17) {
            const bool isAc = segment[0] >> 4 == 1;
            const int number = segment[0] & 15;
            const Bytes counts = segment.subspan(1, 16);
            const size_t symbols = std::accumulate(counts.begin(), counts.end(), size_t(0));
            if (segment[0] >> 4 > 1 || number > 3 || symbols > segment.size() - 17)
                return false;
            const auto kind = !isAc           ? Table::Kind::Means
                              : isProgressive ? Table::Kind::CoefficientsOfScans
                                              : Table::Kind::Coefficients;
            const auto table = Table::parsed(counts, segment.subspan(17, symbols), kind);
            if (!table)
                return false;
            (isAc ? ac : dc)[number] = std::make_unique<const Table>(*table);
            segment = segment.subspan(17 + symbols);
        }
        return segment.empty();
    }

    bool readQuantisers(Bytes segment)
    {
        while (!segment.empty()) {
            const int bytes = segment[0] >> 4 == 0 ? 1 : 2;
            const size_t size = 1 + 64 * bytes;
            if (segment[0] >> 4 > 1 || (segment[0] & 15) > 3 || segment.size() < size)
                return false;
            Quantiser &steps = quantisers[segment[0] & 15].emplace();
            for (size_t i = 0; i < steps.size(); ++i)
                steps[i] = bytes == 1 ? segment[1 + i] : word(segment, 1 + 2 * i);
            segment = segment.subspan(size);
        }
        return true;
    }

    bool isYcbcr() const
    {
        const bool usualIds = components[0].id == 1 && components[1].id == 2 && components[2].id == 3;
        return adobeTransform ? *adobeTransform == 1 : isJfif || usualIds;
    }

    bool beginScan(Bytes segment)
    {
        const size_t count = components.size();
        if (count == 0 || segment.size() != 4 + 2 * count || segment[0] != count)
            return false;
        const Bytes rest = segment.last(3);
        if (rest[0] != 0 || rest[1] != 63 || rest[2] != 0 || (count == 3 && !isYcbcr()))
            return false;
        for (size_t i = 0; i < count; ++i) {
            Component &component = components[i];
            const int tables = segment[2 + 2 * i];
            if (segment[1 + 2 * i] != component.id || tables >> 4 > 3 || (tables & 15) > 3)
                return false;
            component.dc = dc[tables >> 4].get();
            component.ac = ac[tables & 15].get();
            if (!component.dc || !component.ac || !quantisers[component.quantiser])
                return false;
            component.steps = *quantisers[component.quantiser];
        }
        return isClaimOfBytes(2);
    }

    /// False if a few bytes claim a huge picture, each block of which takes so many bits or more.
    bool isClaimOfBytes(int bitsOfBlock) const
    {
        const int blocks =
            components[0].across * components[0].down + static_cast<int>(components.size()) - 1;
        return qint64(units.width()) * units.height() * blocks
               <= static_cast<qint64>(file.size()) * 8 / bitsOfBlock;
    }

    /// Makes room for the picture at an eighth, and for a row of units on its way there.
    bool beginImage()
    {
        const QSize size((full.width() + 7) / 8, (full.height() + 7) / 8);
        const auto format = components.size() == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
        if (!QImageIOHandler::allocateImage(size, format, &image))
            return false;
        for (Component &component : components)
            component.row.resize(component.width(units.width()) * component.down * component.side);
        return true;
    }

    bool readScan()
    {
        if (!beginImage())
            return false;
        BitReader reader(file);
        Restarts restarts(restartInterval);
        for (int row = 0; row < units.height(); ++row) {
            for (int column = 0; column < units.width(); ++column) {
                if (const std::optional<int> marker = restarts.next()) {
                    if (!endsWith(reader, *marker))
                        return false;
                    reader = BitReader(file);
                    for (Component &component : components)
                        component.last = 0;
                }
                for (Component &component : components)
                    if (!readUnit(reader, component, column))
                        return false;
                if (reader.isExhausted())
                    return false;
            }
            showRow(row);
        }
        return endsWith(reader, 0xd9);
    }

    /// True if this marker comes next; the file goes on behind it.
    bool endsWith(BitReader reader, int marker)
    {
        const std::optional<Bytes> rest = reader.rest();
        file = rest.value_or(Bytes());
        return nextMarker() == marker;
    }

    /// Reads a scan of a progressive picture, or passes over it where nothing of it shows.
    bool readProgressiveScan(Bytes segment)
    {
        const size_t count = segment.empty() ? 0 : segment[0];
        if (count == 0 || segment.size() != 4 + 2 * count || ++scans > mostScans || !beginBlocks())
            return false;
        const Bytes rest = segment.last(3);
        const JpegProgressive::Range range{rest[0], rest[1], rest[2] >> 4, rest[2] & 15};
        const bool isMean = range.first == 0;
        std::vector<Component *> scan;
        for (size_t i = 0; i < count; ++i) {
            const auto component = std::find_if(components.begin(), components.end(),
                                                [&](const auto &c) { return c.id == segment[1 + 2 * i]; });
            const int tables = segment[2 + 2 * i];
            if (component == components.end() || !component->progress.take(range) || tables >> 4 > 3
                || (tables & 15) > 3 || !quantisers[component->quantiser])
                return false;
            component->dc = dc[tables >> 4].get();
            component->ac = ac[tables & 15].get();
            if (isMean ? !range.refines() && !component->dc : count > 1 || !component->ac)
                return false;
            if (isMean && !range.refines()) // later changes are not for this component
                component->steps = *quantisers[component->quantiser];
            component->last = 0;
            scan.push_back(&*component);
        }
        const auto forgetMeans = [&] {
            for (Component *component : scan)
                component->last = 0;
        };
        if (isMean)
            return readBlocks(scan, forgetMeans,
                              [&](BitReader &reader, Component &component, int16_t *block) {
                                  return readMean(reader, component, range, *block);
                              });
        if (scan[0]->side == 1)
            return skipScan();
        JpegProgressive::BlockReader blocks(range, *scan[0]->ac);
        return readBlocks(
            scan, [&] { blocks.restart(); },
            [&](BitReader &reader, Component &, int16_t *block) { return blocks.read(reader, block); });
    }

    /// Goes through the blocks of a scan; `restart` is called behind each restart marker.
    template <typename Restart, typename ReadBlock>
    bool readBlocks(const std::vector<Component *> &scan, const Restart &restart, const ReadBlock &readBlock)
    {
        const bool isAlone = scan.size() == 1; // then a unit is a block
        const QSize size = isAlone ? scan[0]->size : units;
        BitReader reader(file);
        Restarts restarts(restartInterval);
        for (int row = 0; row < size.height(); ++row) {
            for (int column = 0; column < size.width(); ++column) {
                if (const std::optional<int> marker = restarts.next()) {
                    if (!endsWith(reader, *marker))
                        return false;
                    reader = BitReader(file);
                    restart();
                }
                for (Component *component : scan) {
                    const int across = isAlone ? 1 : component->across;
                    const int down = isAlone ? 1 : component->down;
                    for (int y = row * down; y < (row + 1) * down; ++y)
                        for (int x = column * across; x < (column + 1) * across; ++x)
                            if (!readBlock(reader, *component, component->block(units.width(), x, y)))
                                return false;
                }
                if (reader.isExhausted())
                    return false;
            }
        }
        const std::optional<Bytes> rest = reader.rest();
        file = rest.value_or(Bytes());
        return rest.has_value();
    }

    /// Passes over the data of a scan. False if no marker ends it.
    bool skipScan()
    {
        while (file.size() > 1) {
            const void *const found = std::memchr(file.data(), 0xff, file.size() - 1);
            if (!found)
                break;
            file = file.subspan(static_cast<const uint8_t *>(found) - file.data());
            const bool isData = file[1] == 0 || file[1] == 0xff || (file[1] & 0xf8) == 0xd0;
            if (!isData)
                return true;
            file = file.subspan(1);
        }
        return false;
    }

    /// Makes room for the blocks of a progressive picture before its first scan.
    bool beginBlocks()
    {
        if (scans > 1)
            return true;
        if (components.empty() || (components.size() == 3 && !isYcbcr()) || !isClaimOfBytes(1))
            return false;
        for (Component &component : components)
            component.blocks.resize(component.kept() * units.width() * component.across * units.height()
                                    * component.down);
        return true;
    }

    static bool readMean(BitReader &reader, Component &component, const JpegProgressive::Range &range,
                         int16_t &mean)
    {
        reader.refill();
        if (range.refines()) {
            mean = static_cast<int16_t>(mean | static_cast<int>(reader.peek(1)) << range.lowest);
            reader.skip(1);
            return true;
        }
        const std::optional<int> difference = component.dc->readDc(reader);
        component.last += static_cast<uint32_t>(difference.value_or(0));
        mean = static_cast<int16_t>(component.last << range.lowest);
        return difference.has_value();
    }

    Q_ALWAYS_INLINE bool readUnit(BitReader &reader, Component &component, int column) const
    {
        for (int y = 0; y < component.down; ++y) {
            for (int x = 0; x < component.across; ++x) {
                reader.refill();
                const std::optional<int> difference = component.dc->readDc(reader);
                if (!difference)
                    return false;
                component.last += static_cast<uint32_t>(*difference);
                const int mean = static_cast<int16_t>(component.last) * component.steps[0];
                const size_t width = component.width(units.width());
                uchar *const target =
                    &component.row[y * component.side * width
                                   + (size_t(column) * component.across + x) * component.side];
                if (component.side == 1) {
                    if (!component.ac->skipAc(reader))
                        return false;
                    *target = static_cast<uchar>(std::clamp(((mean + 4) >> 3) + 128, 0, 255));
                } else {
                    BitReader copy = reader; // `reader` itself stays in registers
                    const std::optional<FirstCoefficients> first = component.ac->readAc(copy);
                    reader = copy;
                    if (!first)
                        return false;
                    showQuarters(mean, *first, component.steps, target, width);
                }
            }
        }
        return true;
    }

    /// The picture from the blocks that scans have brought. False if some of it is missing, or if there are
    /// values that no picture of 8 bits has.
    bool showBlocks()
    {
        const bool isComplete = std::all_of(components.begin(), components.end(),
                                            [](const auto &c) { return c.progress.isComplete(); });
        if (components.empty() || !isComplete || !beginImage())
            return false;
        for (int row = 0; row < units.height(); ++row) {
            for (Component &component : components) {
                const size_t width = component.width(units.width());
                for (int y = 0; y < component.down; ++y) {
                    uchar *target = &component.row[y * component.side * width];
                    for (int x = 0; x < units.width() * component.across; ++x, target += component.side) {
                        const int16_t *block = component.block(units.width(), x, row * component.down + y);
                        if (!showBlock(block, component, target, width))
                            return false;
                    }
                }
            }
            showRow(row);
        }
        return true;
    }

    static bool showBlock(const int16_t *block, const Component &component, uchar *target, size_t stride)
    {
        // The zigzag order of what the mean of a quarter depends on, and sqrt(2) times the means of
        // cos(pi / 16 * (2 x + 1) * n) for x from 0 to 3 and n = 1, 3, 5, 7.
        constexpr int places[5][5] = {{0, 1, 6, 15, 28},
                                      {2, 4, 13, 26, 42},
                                      {9, 11, 24, 40, 53},
                                      {20, 22, 38, 51, 60},
                                      {35, 36, 49, 58, 63}};
        constexpr float weights[] = {1, 0.906127F, -0.318190F, 0.212608F, -0.180240F};
        constexpr int most = 2047; // of what is coded for 8 bits
        const int mean = block[0] * component.steps[0];
        if (std::abs(mean) > most)
            return false;
        if (component.side == 1) {
            *target = static_cast<uchar>(std::clamp(((mean + 4) >> 3) + 128, 0, 255));
            return true;
        }
        float sums[2][2] = {};
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 5; ++x) {
                const int value = block[places[y][x]] * component.steps[places[y][x]];
                if (std::abs(value) > most)
                    return false;
                sums[y > 0][x > 0] += weights[y] * weights[x] * static_cast<float>(value);
            }
        }
        if (std::abs(sums[0][0]) + std::abs(sums[0][1]) + std::abs(sums[1][0]) + std::abs(sums[1][1])
            > 2 * most)
            return false;
        showQuarters(mean, sums[0][1], sums[1][0], sums[1][1], target, stride);
        return true;
    }

    /// The means of a block's four quarters. What is left out counts for little.
    static void showQuarters(int mean, const FirstCoefficients &first, const Quantiser &steps, uchar *target,
                             size_t stride)
    {
        // sqrt(2) times the means of cos(pi / 16 * (2 x + 1) * n) for x from 0 to 3 and n = 1, 3.
        constexpr float one = 0.90613F;
        constexpr float three = -0.31819F;
        const auto value = [&](int i) { return static_cast<float>(first[i]) * static_cast<float>(steps[i]); };
        const float across = one * value(1) + three * value(6);
        const float down = one * value(2) + three * value(9);
        showQuarters(mean, across, down, one * one * value(4), target, stride);
    }

    static void showQuarters(int mean, float across, float down, float both, uchar *target, size_t stride)
    {
        const auto pixel = [mean](float detail) {
            return static_cast<uchar>(
                std::clamp((static_cast<float>(mean) + detail) / 8 + 128.5F, 0.F, 255.F));
        };
        target[0] = pixel(across + down + both);
        target[1] = pixel(down - across - both);
        target[stride] = pixel(across - down - both);
        target[stride + 1] = pixel(both - across - down);
    }

    /// Puts the pixels of one row of units into the picture.
    void showRow(int row)
    {
        const int down = components[0].down;
        for (int y = 0; y < down && row * down + y < image.height(); ++y) {
            const auto line = [&](const Component &component) {
                return component.row.data()
                       + y * component.down * component.side / down * component.width(units.width());
            };
            uchar *const target = image.scanLine(row * down + y);
            if (components.size() == 1)
                std::copy_n(line(components[0]), image.width(), target);
            else
                showColours(line(components[0]), line(components[1]), line(components[2]),
                            reinterpret_cast<QRgb *>(target));
        }
    }

    void showColours(const uchar *luma, const uchar *blue, const uchar *red, QRgb *target) const
    {
        const auto at = [this](int x, size_t i) {
            return x * components[i].across * components[i].side / components[0].across;
        };
        const auto sample = [](int value) { return std::clamp(value >> 16, 0, 255); };
        for (int x = 0; x < image.width(); ++x) {
            // ITU-R BT.601, times 65536, rounded.
            const int y = (luma[x] << 16) + 32768;
            const int cb = blue[at(x, 1)] - 128;
            const int cr = red[at(x, 2)] - 128;
            target[x] =
                qRgb(sample(y + 91881 * cr), sample(y - 22554 * cb - 46802 * cr), sample(y + 116130 * cb));
        }
    }

    QImage withProfile()
    {
        QByteArray whole;
        for (const auto &[number, chunk] : profile)
            whole += chunk;
        if (!whole.isEmpty())
            image.setColorSpace(QColorSpace::fromIccProfile(whole));
        return image;
    }

    Bytes file; ///< what has not been read yet
    std::array<std::unique_ptr<const Table>, 4> dc;
    std::array<std::unique_ptr<const Table>, 4> ac;
    std::array<std::optional<Quantiser>, 4> quantisers;
    std::vector<Component> components;
    QSize full;  ///< pixels
    QSize units; ///< units of the picture across and down
    bool isProgressive = false;
    int scans = 0;           ///< of a progressive picture, up to now
    int restartInterval = 0; ///< units; 0: none
    bool isJfif = false;
    std::optional<int> adobeTransform;
    std::map<int, QByteArray> profile; ///< chunks by number
    QImage image;
};

} // namespace

QImage readJpegEighth(const QByteArray &file)
{
    return Decoder(Bytes(reinterpret_cast<const uint8_t *>(file.constData()), file.size())).read();
}
