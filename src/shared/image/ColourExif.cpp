#include "shared/image/ColourExif.h"

#include <QByteArray>
#include <QtDebug>

#include <exiv2/exiv2.hpp>

#include <algorithm>

namespace {

/// True if EXIF data among these bytes say so.
bool meansAdobeRgb(const QByteArray &bytes)
{
    const qsizetype index = bytes.indexOf(QByteArray("R03\0", 4)); // hardly any file goes further
    const qsizetype start = std::max(bytes.lastIndexOf(QByteArray("II*\0", 4), index),
                                     bytes.lastIndexOf(QByteArray("MM\0*", 4), index));
    if (index < 0 || start < 0)
        return false;
    try {
        Exiv2::ExifData exif;
        Exiv2::ExifParser::decode(exif, reinterpret_cast<const Exiv2::byte *>(bytes.constData() + start),
                                  static_cast<uint32_t>(bytes.size() - start));
        const auto is = [&exif](const char *key, const char *value) {
            const auto entry = exif.findKey(Exiv2::ExifKey(key));
            return entry != exif.end() && entry->toString() == value;
        };
        return is("Exif.Photo.ColorSpace", "65535") && is("Exif.Iop.InteroperabilityIndex", "R03");
    } catch (const std::exception &error) {
        qDebug() << "exifMeansAdobeRgb: " << error.what();
        return false;
    }
}

} // namespace

bool exifMeansAdobeRgb(QIODevice &file)
{
    constexpr qint64 bytesAtEnd = 128 << 10; // twice what EXIF data in a JPEG file may have
    return (file.seek(0) && meansAdobeRgb(file.read(bytesAtEnd)))
           || (file.size() > bytesAtEnd && file.seek(file.size() - bytesAtEnd)
               && meansAdobeRgb(file.read(bytesAtEnd)));
}
