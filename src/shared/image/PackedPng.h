#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QSize>

#include <libdeflate.h>
#include <zlib.h>

#include <memory>
#include <vector>

/// What Qt's PNG writer is given in place of the file: puts chunks behind the header, and packs the pixels by
/// libdeflate, which takes a fifth of zlib's time, and one piece of the picture at a time. To be written
/// unpacked (`quality`); what is packed already is packed anew.
class PackedPng : public QIODevice
{
public:
    static constexpr int quality = 100;
    static constexpr qint64 behindHeader = 8 + 12 + 13; ///< the signature, and the first chunk

    /// What stands before the pixels in a file of one pixel, made true for a picture of `size`.
    [[nodiscard]] static QByteArray headOf(const QByteArray &ofOnePixel, QSize size);

    PackedPng(QIODevice &device, QByteArray chunksBehindHeader);
    ~PackedPng() override;

    [[nodiscard]] bool isSequential() const override { return true; }

    /// Takes rows that are filtered and not packed, behind a file's header.
    [[nodiscard]] bool pack(const std::vector<uchar> &rows);

    /// Ends such a file. False if it is not complete.
    [[nodiscard]] bool finish();

    /// True once the device has failed, or if the stream is none of PNG: the writer is not told so, as it
    /// would not give back what it holds in memory.
    [[nodiscard]] bool hasFailed() const { return failed; }

protected:
    qint64 readData(char * /*data*/, qint64 /*most*/) override { return -1; }
    qint64 writeData(const char *data, qint64 length) override;

private:
    [[nodiscard]] bool takePending();
    [[nodiscard]] bool write(const QByteArray &bytes);
    [[nodiscard]] bool take(const QByteArray &chunk);
    [[nodiscard]] bool unpack(QByteArray data);
    [[nodiscard]] bool writePiece(bool isLast);
    [[nodiscard]] bool goOnBehind(QByteArray &packed);

    QIODevice &device;
    QByteArray inserted;
    QByteArray pending; ///< what is no whole chunk yet
    z_stream unpacking{};
    std::vector<uchar> piece; ///< of the rows, each behind the number of its filter
    quint32 checksum = 1;     ///< of all rows, as Adler begins it
    bool isBegun = false;     ///< the stream of packed pixels
    bool failed = false;
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> packer;
};
