#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QImageReader>

/// A file of bytes in the making.
template <QDataStream::ByteOrder order>
class ByteFile : public QByteArray
{
public:
    template <typename Number>
    ByteFile &number(Number value)
    {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setByteOrder(order);
        stream << value;
        append(bytes);
        return *this;
    }
};

/// `data` as runs of equal bytes and, where there are none, literals of up to three; each behind its code.
template <typename RunCode, typename LiteralCode>
QByteArray packedRuns(const QByteArray &data, RunCode runCode, LiteralCode literalCode)
{
    QByteArray packed;
    for (qsizetype at = 0; at < data.size();) {
        qsizetype count = 1;
        while (at + count < data.size() && count < 127 && data[at + count] == data[at])
            ++count;
        if (count > 1) {
            packed.append(static_cast<char>(runCode(count))).append(data[at]);
        } else {
            count = std::min<qsizetype>(3, data.size() - at);
            packed.append(static_cast<char>(literalCode(count))).append(data.mid(at, count));
        }
        at += count;
    }
    return packed;
}

/// A zlib stream without the length that Qt writes before it.
inline QByteArray zipped(const QByteArray &data)
{
    return qCompress(data).mid(4);
}

/// What the image plug-ins make of the bytes; null if it is not of the size that they told before.
inline QImage readImage(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    const QImage image = reader.read();
    return image.size() == size ? image : QImage();
}
