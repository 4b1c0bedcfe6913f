#pragma once

#include <QByteArray>
#include <QIODevice>

#include <algorithm>
#include <utility>

struct EmbeddedMetadata;

/// The chunks of a PNG file that say the metadata, to stand behind its header.
[[nodiscard]] QByteArray pngChunks(const EmbeddedMetadata &metadata);

/// Puts chunks behind the header of a PNG file while it is written to another device, so that it need not be
/// in memory.
class PngWithChunks : public QIODevice
{
public:
    static constexpr qint64 behindHeader = 8 + 12 + 13; ///< the signature, and the first chunk

    PngWithChunks(QIODevice &device, QByteArray chunks)
        : device(device)
        , chunks(std::move(chunks))
    {
        open(WriteOnly | Unbuffered);
    }

    [[nodiscard]] bool isSequential() const override { return true; }

protected:
    qint64 readData(char * /*data*/, qint64 /*most*/) override { return -1; }

    qint64 writeData(const char *data, qint64 length) override
    {
        const qint64 ofHeader = std::clamp<qint64>(behindHeader - written, 0, length);
        written += ofHeader;
        const bool isBehind = written == behindHeader;
        const QByteArray inserted = isBehind ? std::exchange(chunks, {}) : QByteArray();
        const bool done = device.write(data, ofHeader) == ofHeader
                          && device.write(inserted) == inserted.size()
                          && device.write(data + ofHeader, length - ofHeader) == length - ofHeader;
        return done ? length : -1;
    }

private:
    QIODevice &device;
    QByteArray chunks;
    qint64 written = 0; ///< of the header
};
