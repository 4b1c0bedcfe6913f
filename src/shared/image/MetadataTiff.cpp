#include "shared/image/MetadataTiff.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr qint64 mostOfValue = 1024 * 1024;
constexpr qint64 mostOfAll = 16 * 1024 * 1024;
constexpr int mostDirectories = 16;
constexpr qint64 mostOfLibrary = std::numeric_limits<long>::max(); ///< exiv2 counts a file's bytes so

constexpr qint64 headerBytes = 8;
constexpr qint64 entryBytes = 12;

/// Bytes of a value of each type, by the numbers that TIFF 6.0 and its supplement give them.
qint64 bytesOfType(quint16 type)
{
    constexpr qint64 bytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < std::size(bytes) ? bytes[type] : 0;
}

bool leadsToDirectory(quint16 tag)
{
    return tag == 34665 || tag == 34853 || tag == 40965; // EXIF, GPS, interoperability
}

class TiffWalk
{
public:
    explicit TiffWalk(QIODevice &file)
        : file(file)
        , length(std::min<qint64>({file.size(), std::numeric_limits<quint32>::max(), mostOfLibrary}))
        , sparse{{}, {static_cast<char *>(std::calloc(static_cast<size_t>(length), 1)), std::free}}
    {
    }

    SparseFile result()
    {
        if (!sparse.memory || !copy(0, headerBytes))
            return {};
        isBigEndian = *at(0) == 'M';
        if (number<quint16>(2) != 42)
            return {};
        directory(number<quint32>(4));
        sparse.bytes = QByteArray::fromRawData(at(0), end);
        return sparse;
    }

private:
    char *at(qint64 offset) const { return sparse.memory.get() + offset; }

    template <typename Number>
    Number number(qint64 offset) const
    {
        return isBigEndian ? qFromBigEndian<Number>(at(offset)) : qFromLittleEndian<Number>(at(offset));
    }

    /// Brings bytes of the file to their place. False if they are not there, or too many by now.
    bool copy(qint64 offset, qint64 bytes)
    {
        kept += bytes;
        if (offset > length - bytes || kept > mostOfAll || !file.seek(offset)
            || file.read(at(offset), bytes) != bytes)
            return false;
        end = std::max(end, offset + bytes);
        return true;
    }

    void directory(qint64 offset)
    {
        if (++directories > mostDirectories || !copy(offset, 2))
            return;
        const qint64 entries = number<quint16>(offset);
        const qint64 next = offset + 2 + entries * entryBytes;
        // The directory behind it, which stays unread, is that of a preview or another page.
        if (!copy(offset + 2, entries * entryBytes) || next + 4 > length)
            return;
        end = std::max(end, next + 4);
        for (qint64 entry = offset + 2; entry < next; entry += entryBytes) {
            const qint64 bytes = number<quint32>(entry + 4) * bytesOfType(number<quint16>(entry + 2));
            const quint32 value = number<quint32>(entry + 8);
            if (leadsToDirectory(number<quint16>(entry)))
                directory(value);
            else if (bytes > 4 && (bytes > mostOfValue || !copy(value, bytes)))
                std::memset(at(entry + 4), 0, 4);
        }
    }

    QIODevice &file;
    const qint64 length;
    SparseFile sparse;
    bool isBigEndian = false;
    qint64 end = 0;
    qint64 kept = 0;
    int directories = 0;
};

} // namespace

SparseFile tiffWithoutPixels(QIODevice &file)
{
    return TiffWalk(file).result();
}
