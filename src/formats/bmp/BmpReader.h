#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>

#include <array>
#include <cstdint>

class QIODevice;

/// Reads Windows and OS/2 bitmaps of all headers: 1, 2, 4 and 8 bits with a palette, 16, 24 and 32 bits with
/// masks of any width, run lengths, and a JPEG or PNG picture inside. Where no pixel has any alpha, all are
/// opaque. Of a file that ends early there is what it has, and black.
class BmpReader
{
public:
    /// "orrelan-bmp" if the device holds a bitmap, otherwise empty. The device's position stays.
    [[nodiscard]] static QByteArray format(QIODevice &device);

    /// Reads from `device`, which stays the caller's and must live as long.
    explicit BmpReader(QIODevice &device);

    /// Pixels, from the header. Empty if the file is broken.
    [[nodiscard]] QSize size() const { return pixels; }

    /// The format in which the picture is read, from the header. Invalid where the size is empty.
    [[nodiscard]] QImage::Format imageFormat() const;

    /// Null if there is no row of it, or if it is above QImageReader's allocation limit.
    [[nodiscard]] QImage read();

private:
    /// Where a channel stands in a pixel, and what brings it to 8 or 16 bits.
    struct Channel
    {
        uint32_t mask = 0;
        int shift = 0;
        double scale = 0;

        [[nodiscard]] double of(uint32_t pixel) const { return ((pixel & mask) >> shift) * scale; }
    };

    [[nodiscard]] bool readHeader();
    void readMasks(const QByteArray &header);
    [[nodiscard]] bool isOfKnownKind() const;
    [[nodiscard]] qint64 rowBytes() const;
    [[nodiscard]] bool readRows(QImage &image);
    [[nodiscard]] bool readRuns(QImage &image);
    void putRow(QImage &image, int y, const uchar *row);
    void putPixels(uchar *line, const uchar *row);
    [[nodiscard]] int lineOf(int row) const { return isTopDown ? row : pixels.height() - 1 - row; }

    QIODevice *device;
    qint64 start;
    QSize pixels;
    bool isTopDown = false;
    bool isDeep = false;
    int bits = 0;
    uint32_t compression = 0;
    qint64 dataOffset = 0;
    int dotsPerMetreX = 0;
    int dotsPerMetreY = 0;
    qint64 profileOffset = 0;
    qint64 profileBytes = 0;
    bool hasAlpha = false;           ///< of any pixel, once they are read
    std::array<Channel, 4> channels; ///< red, green, blue and alpha
    QList<QRgb> palette;
};
