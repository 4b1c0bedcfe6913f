#include "formats/psd/PsdPixels.h"
#include "formats/LabColour.h"
#include "formats/Packing.h"

#include <QDataStream>
#include <QIODevice>
#include <QRgba64>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace PsdReader {

namespace {

enum Compression : quint16
{
    Raw = 0,
    RunLength = 1,
    Zip = 2,
    ZipWithPrediction = 3
};

qsizetype rowLength(const Header &header)
{
    return (static_cast<qsizetype>(header.size.width()) * header.depth + 7) / 8;
}

/// Up to `most` bytes of what the runs hold.
QByteArray unpackedRuns(const QByteArray &packed, qsizetype most)
{
    QByteArray data(most, Qt::Uninitialized);
    char *to = data.data();
    char *const end = to + most;
    for (qsizetype at = 0; to < end && at + 1 < packed.size();) {
        const auto code = static_cast<qint8>(packed[at++]);
        if (code == -128)
            continue;
        qsizetype count = std::min<qsizetype>(std::abs(code) + 1, end - to);
        if (code < 0) {
            std::memset(to, packed[at++], count);
        } else {
            count = std::min(count, packed.size() - at);
            std::memcpy(to, packed.data() + at, count);
            at += count;
        }
        to += count;
    }
    data.truncate(to - data.constData());
    return data;
}

void undoPrediction(char *row, const Header &header)
{
    const int width = header.size.width();
    if (header.depth == 16) {
        quint16 sum = 0;
        for (int x = 0; x < width; ++x) {
            sum += qFromBigEndian<quint16>(row + 2 * x);
            qToBigEndian(sum, row + 2 * x);
        }
        return;
    }
    for (qsizetype i = 1; i < rowLength(header); ++i)
        row[i] = static_cast<char>(row[i] + row[i - 1]);
    if (header.depth != 32)
        return;
    // The highest bytes of all samples come first, then the second highest.
    const QByteArray split(row, rowLength(header));
    for (int x = 0; x < width; ++x)
        for (qsizetype byte = 0; byte < 4; ++byte)
            row[4 * x + byte] = split[byte * width + x];
}

/// The samples of the first channels, one channel after the other, each row by row, with the high byte first.
/// Fewer where the data ends, none if it cannot hold a sensible share of them, however well it is packed.
QByteArray readSamples(QIODevice &device, const Header &header, int channels)
{
    quint16 compression = Raw;
    QDataStream(&device) >> compression;
    if (compression == RunLength) // behind the lengths of all packed rows, which tell nothing new
        device.skip((header.large ? 4ll : 2ll) * header.size.height() * header.channels);
    const qsizetype needed = rowLength(header) * header.size.height() * channels;
    // A careless writer of runs doubles what does not shrink.
    const QByteArray data = Packing::readAtMost(device, compression == Raw ? needed : 2 * needed + 1024);
    const qsizetype highestRatio = compression == Raw ? 1 : compression == RunLength ? 64 : 1032;
    if (compression > ZipWithPrediction || data.size() * highestRatio < needed / 4)
        return {};
    if (compression == Raw)
        return data;
    QByteArray samples =
        compression == RunLength ? unpackedRuns(data, needed) : Packing::inflated(data, needed);
    const bool predicted = compression == ZipWithPrediction && header.depth > 1;
    for (qsizetype row = 0; predicted && row < samples.size() / rowLength(header); ++row)
        undoPrediction(samples.data() + row * rowLength(header), header);
    return samples;
}

constexpr quint16 full = 65535;

quint16 fromFloat(float value)
{
    return value > 0 ? static_cast<quint16>(std::min(value, 1.0f) * full + 0.5f) : 0; // what is no number: 0
}

quint16 sampleAt(const char *row, int x, int depth)
{
    if (depth == 8)
        return static_cast<quint16>(static_cast<uchar>(row[x]) * 257);
    return depth == 16 ? qFromBigEndian<quint16>(row + 2 * x) : fromFloat(qFromBigEndian<float>(row + 4 * x));
}

QRgba64 fromGrey(const quint16 *samples)
{
    return QRgba64::fromRgba64(samples[0], samples[0], samples[0], full);
}

QRgba64 fromRgb(const quint16 *samples)
{
    return QRgba64::fromRgba64(samples[0], samples[1], samples[2], full);
}

QRgba64 fromLab(const quint16 *samples)
{
    const auto linear = linearSrgbOfLab(samples[0] * 100.0f / full, (samples[1] - 32896) / 257.0f,
                                        (samples[2] - 32896) / 257.0f);
    return QRgba64::fromRgba64(fromFloat(linear[0]), fromFloat(linear[1]), fromFloat(linear[2]), full);
}

/// What the colour was before it was blended with white.
QRgba64 withoutWhite(QRgba64 colour)
{
    const quint32 alpha = colour.alpha();
    if (alpha == 0 || alpha == full)
        return colour;
    const auto undo = [white = full - alpha, alpha](quint32 value) {
        return static_cast<quint16>(value > white ? (value - white) * quint32(full) / alpha : 0);
    };
    return QRgba64::fromRgba64(undo(colour.red()), undo(colour.green()), undo(colour.blue()), colour.alpha());
}

using Rows = std::array<const char *, 5>; ///< of one height, of CMYK and alpha at most

/// The most frequent kind of row, without the way over 16 bits.
void joinBytes(const Rows &rows, int width, QRgb *line)
{
    for (int x = 0; x < width; ++x)
        line[x] = qRgb(static_cast<uchar>(rows[0][x]), static_cast<uchar>(rows[1][x]),
                       static_cast<uchar>(rows[2][x]));
}

/// The header is a copy, which the compiler knows that no write to `line` changes.
template <QRgba64 (*toColour)(const quint16 *), int colours>
void convertRow(const Rows &rows, const Header header, Transparency transparency, int imageDepth, uchar *line)
{
    for (int x = 0; x < header.size.width(); ++x) {
        std::array<quint16, colours> samples;
        for (int channel = 0; channel < colours; ++channel)
            samples[channel] = sampleAt(rows[channel], x, header.depth);
        QRgba64 colour = toColour(samples.data());
        if (transparency != Transparency::None)
            colour.setAlpha(sampleAt(rows[colours], x, header.depth));
        if (transparency == Transparency::OnWhite)
            colour = withoutWhite(colour);
        if (imageDepth == 64)
            reinterpret_cast<QRgba64 *>(line)[x] = colour;
        else if (imageDepth == 32)
            reinterpret_cast<QRgb *>(line)[x] = colour.toArgb32();
        else
            reinterpret_cast<quint16 *>(line)[x] = colour.red();
    }
}

/// What black ink leaves of the paper's white in a row of CMYK.
void putBlack(const Rows &rows, const Header &header, Transparency transparency, QImage &black, int y)
{
    for (int x = 0; x < black.width(); ++x) {
        const quint16 value = sampleAt(rows[3], x, header.depth);
        QRgba64 grey = fromGrey(&value);
        if (transparency == Transparency::OnWhite) {
            grey.setAlpha(sampleAt(rows[4], x, header.depth));
            grey = withoutWhite(grey);
        }
        if (black.depth() == 16)
            reinterpret_cast<quint16 *>(black.scanLine(y))[x] = grey.red();
        else
            black.scanLine(y)[x] = grey.red8();
    }
}

} // namespace

int readRows(QImage &image, QImage &black, const Header &header, Transparency transparency, QIODevice &device)
{
    const int channels = header.colours + (transparency == Transparency::None ? 0 : 1);
    const QByteArray samples = readSamples(device, header, channels);
    const qsizetype height = image.height();
    const qsizetype last = samples.size() / rowLength(header) - height * (channels - 1);
    const auto convert = header.mode == Mode::Lab    ? convertRow<fromLab, 3>
                         : header.mode == Mode::Rgb  ? convertRow<fromRgb, 3>
                         : header.mode == Mode::Cmyk ? convertRow<fromRgb, 4> // black comes by itself
                                                     : convertRow<fromGrey, 1>;
    int y = 0;
    for (; y < std::min(last, height); ++y) {
        Rows rows{};
        for (int channel = 0; channel < channels; ++channel)
            rows[channel] = samples.constData() + (channel * height + y) * rowLength(header);
        if (image.depth() <= 8) // as it is stored
            std::memcpy(image.scanLine(y), rows[0], rowLength(header));
        else if (image.format() == QImage::Format_RGB32 && header.mode == Mode::Rgb)
            joinBytes(rows, image.width(), reinterpret_cast<QRgb *>(image.scanLine(y)));
        else
            convert(rows, header, transparency, image.depth(), image.scanLine(y));
        if (!black.isNull())
            putBlack(rows, header, transparency, black, y);
    }
    return y;
}

} // namespace PsdReader
