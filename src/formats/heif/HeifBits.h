#pragma once

#include <QByteArray>

#include <utility>

namespace Heif {

/// Bits of a stream from the highest on; zeros behind its end.
class Bits
{
public:
    explicit Bits(QByteArray source)
        : bytes(std::move(source))
    {
    }

    [[nodiscard]] quint64 take(int count)
    {
        quint64 value = 0;
        for (; count > 0; --count, ++at) {
            const qsizetype byte = at / 8;
            value =
                value << 1 | (byte < bytes.size() ? static_cast<quint8>(bytes[byte]) >> (7 - at % 8) & 1 : 0);
        }
        return value;
    }

    void skip(qsizetype count) { at += count; }
    void skipGolomb() { static_cast<void>(golomb()); }
    [[nodiscard]] bool atEnd() const { return at >= bytes.size() * 8; }

    /// Exponential Golomb code.
    [[nodiscard]] quint64 golomb()
    {
        int zeros = 0;
        while (zeros < 32 && take(1) == 0)
            ++zeros;
        return (quint64(1) << zeros) - 1 + take(zeros);
    }

private:
    QByteArray bytes;
    qsizetype at = 0;
};

} // namespace Heif
