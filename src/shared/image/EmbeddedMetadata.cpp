#include "shared/image/EmbeddedMetadata.h"

#include "shared/image/ColourCodePoints.h"
#include "shared/image/MetadataBlocks.h"
#include "shared/image/MetadataFile.h"
#include "shared/image/MetadataPng.h"
#include "shared/image/MetadataTiff.h"
#include "shared/image/PackedPng.h"
#include "shared/platform/FileForReading.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QtDebug>
#include <QtEndian>

#include <exiv2/exiv2.hpp>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <utility>

namespace {

constexpr qint64 mostJpegHead = 16LL * 1024 * 1024;
constexpr qsizetype mostXmp = 1024 * 1024;
// What a segment of JPEG has room for.
constexpr qsizetype mostXmpOfJpeg = 65'502;
constexpr qsizetype mostIptc = 65'000;

const QByteArray jpegSignature("\xFF\xD8");

const Exiv2::byte *bytesOf(const QByteArray &bytes)
{
    return reinterpret_cast<const Exiv2::byte *>(bytes.constData());
}

QByteArray contentOf(Exiv2::BasicIo &io)
{
    if (io.open() != 0)
        return {};
    return {reinterpret_cast<const char *>(io.mmap()), static_cast<qsizetype>(io.size())};
}

/// Runs what may meet anything in a file: what fails is left out.
void tolerant(const char *what, const std::function<void()> &step)
{
    try {
        step();
    } catch (const std::exception &error) {
        qDebug() << "Metadata left out:" << what << error.what();
    }
}

/// What exiv2 needs of a file; empty if it is of a format without metadata.
SparseFile fileForReading(QIODevice &file)
{
    file.seek(0);
    const QByteArray pixelless = MetadataFile::withoutPixels(file, MetadataFile::Wanted::All);
    if (!pixelless.isEmpty())
        return {pixelless, {}};
    file.seek(0);
    const QByteArray head = file.peek(2);
    if (head == jpegSignature)
        return {file.read(mostJpegHead), {}};
    return head == "II" || head == "MM" ? tiffWithoutPixels(file) : SparseFile();
}

struct Metadata
{
    Exiv2::ExifData exif;
    Exiv2::ByteOrder order = Exiv2::invalidByteOrder;
    Exiv2::XmpData xmp;
    Exiv2::IptcData iptc;
    bool isAsStored = false; ///< the new picture has the places of the stored one
};

Metadata readMetadata(const QString &path, QSize size)
{
    Metadata found;
    FileForReading file(path);
    if (!file.open())
        return {};
    const QImageReader reader(&file);
    const bool isAsStored =
        reader.size() == size && reader.transformation() == QImageIOHandler::TransformationNone;
    found.isAsStored = isAsStored;
    static const QList<QByteArray> ours = {"heic", "heif", "avif", "jxl"};
    const bool isOurs = ours.contains(reader.format()); // some of which exiv2 takes for films
    const auto blocks = isOurs ? MetadataBlocks::of(reader) : MetadataBlocks{};
    tolerant("EXIF", [&] {
        found.order = Exiv2::ExifParser::decode(found.exif, bytesOf(blocks.exif),
                                                static_cast<uint32_t>(blocks.exif.size()));
    });
    if (blocks.xmp.size() <= mostXmp)
        tolerant("XMP", [&] { Exiv2::XmpParser::decode(found.xmp, blocks.xmp.toStdString()); });
    if (isOurs)
        return found;
    tolerant("file", [&] {
        const auto [bytes, memory] = fileForReading(file);
        if (bytes.isEmpty())
            return;
        const auto image = Exiv2::ImageFactory::open(bytesOf(bytes), static_cast<long>(bytes.size()));
        tolerant("some of file", [&] { image->readMetadata(); });
        const Exiv2::ExifData &exif = image->exifData();
        const auto turn = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation")); // some readers ignore it
        const bool isTurned = turn != exif.end() && turn->toString() != "1";
        found = {exif, image->byteOrder(), image->xmpData(), image->iptcData(), isAsStored && !isTurned};
    });
    return found;
}

bool contains(const std::string &text, const char *part)
{
    return text.find(part) != std::string::npos;
}

/// Whether a tag says something of the photograph rather than of the file it stood in.
bool goesAlong(const Exiv2::Exifdatum &datum)
{
    static constexpr std::array described{
        "ImageDescription", "Make",         "Model",          "Software",      "DateTime",
        "Artist",           "HostComputer", "Copyright",      "Rating",        "RatingPercent",
        "XPTitle",          "XPComment",    "XPAuthor",       "XPKeywords",    "XPSubject",
        "XResolution",      "YResolution",  "ResolutionUnit", "TimeZoneOffset"};
    static constexpr std::array stale{"InteroperabilityTag", "SubjectArea", "SubjectLocation"};
    const std::string group = datum.groupName();
    const std::string tag = datum.tagName();
    const auto isTag = [&](const char *name) { return tag == name; };
    if (group == "Image")
        return std::any_of(described.begin(), described.end(), isTag);
    if (contains(tag, "Preview") || contains(tag, "Thumbnail") || group == "NikonPreview"
        || std::any_of(stale.begin(), stale.end(), isTag))
        return false;
    return group == "Photo" || group == "GPSInfo" || group == "Iop" || group == "MakerNote"
           || Exiv2::ExifTags::isMakerGroup(group);
}

template <typename Data, typename Condition>
void eraseUnless(Data &data, const Condition &goesAlong)
{
    Data kept; // each that is erased would move all behind it
    for (const auto &datum : std::as_const(data))
        if (goesAlong(datum))
            kept.add(datum);
    data = std::move(kept);
}

// Not const: exiv2 0.28 takes none.
QByteArray encoded(Exiv2::ExifData &exif, Exiv2::ByteOrder order, qsizetype most)
{
    if (most > EmbeddedMetadata::mostExifOfJpeg) { // a TIFF file without a picture is such a block
        static const QByteArray little("II*\0\x08\0\0\0\1\0\x12\1\3\0\1\0\0\0\1\0\0\0\0\0\0\0", 26);
        static const QByteArray big("MM\0*\0\0\0\x08\0\1\1\x12\0\3\0\0\0\1\0\1\0\0\0\0\0\0", 26);
        const QByteArray &upright = order == Exiv2::bigEndian ? big : little;
        const auto file = Exiv2::ImageFactory::open(bytesOf(upright), static_cast<long>(upright.size()));
        file->setExifData(exif);
        file->writeMetadata();
        return contentOf(file->io());
    }
    Exiv2::Blob blob; // without large tags, if it would be too large for JPEG
    Exiv2::ExifParser::encode(blob, order, exif);
    return {reinterpret_cast<const char *>(blob.data()), static_cast<qsizetype>(blob.size())};
}

QByteArray exifFor(Exiv2::ExifData exif, Exiv2::ByteOrder order, QSize size, bool srgb, qsizetype most)
{
    eraseUnless(exif, goesAlong);
    if (exif.empty() && !srgb)
        return {};
    exif["Exif.Image.Orientation"] = uint16_t(1);
    exif["Exif.Photo.PixelXDimension"] = static_cast<uint32_t>(size.width());
    exif["Exif.Photo.PixelYDimension"] = static_cast<uint32_t>(size.height());
    if (exif.findKey(Exiv2::ExifKey("Exif.Photo.ExifVersion")) == exif.end())
        exif["Exif.Photo.ExifVersion"] = "48 50 51 50"; // "0232", as characters
    if (srgb) {
        exif["Exif.Photo.ColorSpace"] = uint16_t(1);
        exif["Exif.Iop.InteroperabilityIndex"] = "R98";
        exif["Exif.Iop.InteroperabilityVersion"] = "48 49 48 48";
    }
    if (order == Exiv2::invalidByteOrder)
        order = Exiv2::littleEndian;
    QByteArray block = encoded(exif, order, most);
    if (block.size() > most) { // what only the camera's maker understands goes first
        eraseUnless(exif, [](const Exiv2::Exifdatum &datum) {
            return Exiv2::ExifTags::isExifGroup(datum.groupName()) && datum.tagName() != "MakerNote";
        });
        block = encoded(exif, order, most);
    }
    return block.size() <= most ? block : QByteArray();
}

QByteArray encoded(const Exiv2::XmpData &xmp)
{
    std::string packet;
    if (!xmp.empty())
        Exiv2::XmpParser::encode(packet, xmp, Exiv2::XmpParser::useCompactFormat);
    return packet.size() <= mostXmp ? QByteArray::fromStdString(packet) : QByteArray();
}

QByteArray xmpFor(Exiv2::XmpData xmp, QSize size, bool srgb, bool isAsStored)
{
    const auto set = [&xmp](const char *key, int value) {
        if (const auto datum = xmp.findKey(Exiv2::XmpKey(key)); datum != xmp.end())
            datum->setValue(std::to_string(value));
    };
    eraseUnless(xmp, [isAsStored](const Exiv2::Xmpdatum &datum) {
        // Previews, and what goes with further pictures or a film in the file.
        static constexpr std::array stale{"Xmp.xmp.Thumbnails", "Xmp.xmpNote.",   "Xmp.photoshop.ICCProfile",
                                          "Xmp.GCamera.Mi",     "Xmp.GCamera.Mo", "Xmp.Container.",
                                          "Xmp.GContainer.",    "Xmp.hdrgm."};
        // Where faces are.
        static constexpr std::array placed{"Xmp.mwg-rs.", "Xmp.MP.RegionInfo"};
        const std::string key = datum.key();
        const auto starts = [&key](const char *start) { return key.rfind(start, 0) == 0; };
        return std::none_of(stale.begin(), stale.end(), starts)
               && (isAsStored || std::none_of(placed.begin(), placed.end(), starts));
    });
    set("Xmp.tiff.Orientation", 1);
    set("Xmp.tiff.ImageWidth", size.width());
    set("Xmp.tiff.ImageLength", size.height());
    set("Xmp.exif.PixelXDimension", size.width());
    set("Xmp.exif.PixelYDimension", size.height());
    if (srgb)
        set("Xmp.exif.ColorSpace", 1);
    return encoded(xmp);
}

QByteArray iptcFor(Exiv2::IptcData iptc)
{
    eraseUnless(iptc, [](const Exiv2::Iptcdatum &datum) { return !contains(datum.tagName(), "Preview"); });
    if (iptc.empty())
        return {};
    const Exiv2::DataBuf block = Exiv2::IptcParser::encode(iptc);
#if EXIV2_TEST_VERSION(0, 28, 0)
    const QByteArray bytes(reinterpret_cast<const char *>(block.c_data()), block.size());
#else
    const QByteArray bytes(reinterpret_cast<const char *>(block.pData_), block.size_);
#endif
    return bytes.size() <= mostIptc ? bytes : QByteArray();
}

void setProfile(Exiv2::Image &image, const QByteArray &icc)
{
    Exiv2::DataBuf profile(bytesOf(icc), static_cast<long>(icc.size()));
#if EXIV2_TEST_VERSION(0, 28, 0)
    image.setIccProfile(std::move(profile), false);
#else
    image.setIccProfile(profile, false);
#endif
}

QByteArray pngChunk(const QByteArray &type, const QByteArray &data)
{
    const QByteArray content = type + data;
    QByteArray length(4, 0);
    QByteArray checksum(4, 0);
    qToBigEndian(static_cast<quint32>(data.size()), length.data());
    qToBigEndian(static_cast<quint32>(crc32(0, bytesOf(content), static_cast<uInt>(content.size()))),
                 checksum.data());
    return length + content + checksum;
}

/// The file of one pixel.
QByteArray smallestPng()
{
    QImage pixel(1, 1, QImage::Format_Mono);
    pixel.fill(0);
    pixel.setDotsPerMeterX(0); // or there would be a chunk of them
    QBuffer buffer;
    QImageWriter(&buffer, "png").write(pixel);
    return buffer.data();
}

} // namespace

QByteArray EmbeddedMetadata::xmpWithIptc() const
{
    QByteArray all = xmp;
    if (!iptc.isEmpty())
        tolerant("IPTC", [&] {
            Exiv2::IptcData sets;
            Exiv2::IptcParser::decode(sets, bytesOf(iptc), static_cast<uint32_t>(iptc.size()));
            Exiv2::XmpData merged;
            Exiv2::copyIptcToXmp(sets, merged);
            Exiv2::XmpData own;
            Exiv2::XmpParser::decode(own, xmp.toStdString());
            for (const Exiv2::Xmpdatum &datum : merged)
                if (own.findKey(Exiv2::XmpKey(datum.key())) == own.end())
                    own.add(datum);
            all = encoded(own);
        });
    return all;
}

EmbeddedMetadata metadataForCopy(const QString &path, QSize size, bool srgb, qsizetype mostExif,
                                 bool isTurned)
{
    MetadataFile::prepareLibrary();
    EmbeddedMetadata copy;
    const Metadata found = readMetadata(path, size);
    tolerant("EXIF", [&] { copy.exif = exifFor(found.exif, found.order, size, srgb, mostExif); });
    if (srgb && copy.exif.isEmpty())
        tolerant("EXIF", [&] { copy.exif = exifFor({}, found.order, size, srgb, mostExif); });
    tolerant("XMP", [&] { copy.xmp = xmpFor(found.xmp, size, srgb, found.isAsStored && !isTurned); });
    tolerant("IPTC", [&] { copy.iptc = iptcFor(found.iptc); });
    return copy;
}

QByteArray withMetadata(const QByteArray &file, const EmbeddedMetadata &metadata)
{
    MetadataFile::prepareLibrary();
    QByteArray whole = file;
    tolerant("all", [&] {
        const auto image = Exiv2::ImageFactory::open(bytesOf(file), static_cast<long>(file.size()));
        image->readMetadata();
        Exiv2::ExifData exif;
        image->setByteOrder(Exiv2::ExifParser::decode(exif, bytesOf(metadata.exif),
                                                      static_cast<uint32_t>(metadata.exif.size())));
        const bool isPng = file.startsWith("\x89PNG");
        for (const Exiv2::Exifdatum &datum : exif) // beside what a TIFF file has as its structure
            if (!isPng && image->exifData().findKey(Exiv2::ExifKey(datum.key())) == image->exifData().end())
                image->exifData().add(datum);
        const bool holdsIptc = image->checkMode(Exiv2::mdIptc) & Exiv2::amWrite;
        const QByteArray xmp = holdsIptc ? metadata.xmp : metadata.xmpWithIptc();
        if (!file.startsWith(jpegSignature) || xmp.size() <= mostXmpOfJpeg)
            Exiv2::XmpParser::decode(image->xmpData(), xmp.toStdString());
        if (holdsIptc && !metadata.iptc.isEmpty())
            Exiv2::IptcParser::decode(image->iptcData(), bytesOf(metadata.iptc),
                                      static_cast<uint32_t>(metadata.iptc.size()));
        if (!metadata.icc.isEmpty() && !isPng)
            setProfile(*image, metadata.icc);
        image->writeMetadata();
        if (const QByteArray written = contentOf(image->io()); !written.isEmpty())
            whole = written;
    });
    return whole;
}

/// Profiles, which exiv2 leaves without a name, and EXIF, which it writes as a text that few others look for,
/// are made here; the rest is what it puts between header and pixels of another file.
QByteArray pngChunks(const EmbeddedMetadata &metadata)
{
    QByteArray chunks;
    if (!metadata.exif.isEmpty())
        chunks = pngChunk("eXIf", metadata.exif);
    if (const auto points = Colour::highDynamicRange(metadata.icc)) {
        const char ofRgb[]{static_cast<char>(points->primaries), static_cast<char>(points->transfer), 0, 1};
        chunks += pngChunk("cICP", QByteArray(ofRgb, sizeof ofRgb));
    } else if (!metadata.icc.isEmpty()) // packed, behind its name and the number of the packing
        chunks += pngChunk("iCCP", QByteArray("ICC\0\0", 5) + qCompress(metadata.icc).mid(4));
    const QByteArray small = smallestPng();
    return chunks
           + withMetadata(small, metadata)
                 .chopped(small.size() - PackedPng::behindHeader)
                 .mid(PackedPng::behindHeader);
}
