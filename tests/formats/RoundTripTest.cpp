#include "formats/heif/HeifTypes.h"
#include "support/Pictures.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>

#include <jxl/encode.h>

#include <set>

namespace {

/// Smooth colours, from corner to corner, with an alpha that fades to the right if the format has one.
QImage gradient(QSize size, QImage::Format format)
{
    QImage image(size, QImage::Format_RGBA64);
    const double fade = QImage(1, 1, format).hasAlphaChannel() ? 0.7 : 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const double right = static_cast<double>(x) / std::max(1, size.width() - 1);
            const double down = static_cast<double>(y) / std::max(1, size.height() - 1);
            image.setPixelColor(x, y, QColor::fromRgbF(right, down, 1 - right * 0.5, 1 - right * fade));
        }
    }
    image.setColorSpace(QColorSpace::SRgb);
    return image.convertToFormat(format);
}

QByteArray written(const QImage &image, const QByteArray &format, int quality)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    return writer.write(image) ? buffer.data() : QByteArray();
}

/// What the reader makes of the bytes, told nothing of their format.
QImage readBack(QByteArray bytes, QSize scaled = {})
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    reader.setScaledSize(scaled);
    const QSize told = reader.size();
    const QImage image = reader.read();
    if (!scaled.isValid() && !image.isNull())
        QTest::qCompare(told, image.size(), "told", "image.size()", __FILE__, __LINE__);
    return image;
}

/// The mean difference of the two pictures' samples, of 255, the alpha among them.
double difference(const QImage &one, const QImage &other)
{
    if (one.isNull() || one.size() != other.size())
        return 255;
    const QImage a = one.convertToFormat(QImage::Format_RGBA8888);
    const QImage b = other.convertToFormat(QImage::Format_RGBA8888);
    const int line = 4 * a.width(); // what pads it does not count
    double sum = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < line; ++x)
            sum += std::abs(a.constScanLine(y)[x] - b.constScanLine(y)[x]);
    return sum / line / a.height();
}

QImage filled(QSize size, const QColor &colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// Adds the picture to a file, or a thumbnail of half its sides to `master`.
Heif::Handle addTo(heif_context *context, const QImage &image, int orientation,
                   const heif_image_handle *master = nullptr)
{
    const QImage pixels = image.convertToFormat(QImage::Format_RGB888);
    heif_image *created = nullptr;
    heif_image_create(pixels.width(), pixels.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB,
                      &created);
    const Heif::Image owner(created);
    heif_image_add_plane(created, heif_channel_interleaved, pixels.width(), pixels.height(), 8);
    int stride = 0;
    uint8_t *const plane = heif_image_get_plane(created, heif_channel_interleaved, &stride);
    for (int y = 0; y < pixels.height(); ++y)
        std::copy_n(pixels.constScanLine(y), 3 * pixels.width(), plane + y * stride);
    heif_encoder *encoder = nullptr;
    heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder);
    const Heif::Encoder encoderOwner(encoder);
    const Heif::EncodingOptions options(heif_encoding_options_alloc());
    options->image_orientation = static_cast<heif_orientation>(orientation);
    heif_image_handle *handle = nullptr;
    if (master)
        heif_context_encode_thumbnail(context, created, master, encoder, options.get(), pixels.width() / 2,
                                      &handle);
    else
        heif_context_encode_image(context, created, encoder, options.get(), &handle);
    return Heif::Handle(handle);
}

/// A HEIC file with a turn, and with a thumbnail that need not show the same.
QByteArray heicOf(const QImage &stored, int orientation, const QImage &thumbnail = {})
{
    const Heif::Context context(heif_context_alloc());
    const Heif::Handle handle = addTo(context.get(), stored, orientation);
    // An EXIF block that says the same turn again: behind the offset, one entry of tag 0x112.
    QByteArray exif("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 32);
    exif[25] = static_cast<char>(orientation);
    heif_context_add_exif_metadata(context.get(), handle.get(), exif.constData(), exif.size());
    if (!thumbnail.isNull())
        addTo(context.get(), thumbnail.scaled(2 * thumbnail.size()), orientation, handle.get());
    heif_writer writer{};
    writer.writer_api_version = 1;
    writer.write = [](heif_context *, const void *data, size_t size, void *bytes) {
        *static_cast<QByteArray *>(bytes) += QByteArray(static_cast<const char *>(data), qsizetype(size));
        return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
    };
    QByteArray bytes;
    heif_context_write(context.get(), &writer, &bytes);
    return bytes;
}

/// A JPEG XL file in a container, with a turn.
QByteArray jxlOf(const QImage &stored, int orientation)
{
    const QImage pixels = stored.convertToFormat(QImage::Format_RGB888);
    const std::unique_ptr<JxlEncoder, decltype(&JxlEncoderDestroy)> encoder(JxlEncoderCreate(nullptr),
                                                                            JxlEncoderDestroy);
    JxlEncoderUseContainer(encoder.get(), JXL_TRUE);
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = pixels.width();
    info.ysize = pixels.height();
    info.bits_per_sample = 8;
    info.orientation = static_cast<JxlOrientation>(orientation);
    JxlEncoderSetBasicInfo(encoder.get(), &info);
    JxlColorEncoding colours;
    JxlColorEncodingSetToSRGB(&colours, JXL_FALSE);
    JxlEncoderSetColorEncoding(encoder.get(), &colours);
    const JxlPixelFormat format{3, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 4};
    JxlEncoderAddImageFrame(JxlEncoderFrameSettingsCreate(encoder.get(), nullptr), &format,
                            pixels.constBits(), pixels.sizeInBytes());
    JxlEncoderCloseInput(encoder.get());
    QByteArray bytes(100000, 0);
    auto *end = reinterpret_cast<uint8_t *>(bytes.data());
    size_t room = bytes.size();
    const bool done = JxlEncoderProcessOutput(encoder.get(), &end, &room) == JXL_ENC_SUCCESS;
    return done ? bytes.left(bytes.size() - static_cast<qsizetype>(room)) : QByteArray();
}

/// The sides that the container of a HEIC or AVIF file gives, changed.
QByteArray withSides(QByteArray file, quint32 side)
{
    for (qsizetype at = file.indexOf("ispe"); at >= 0; at = file.indexOf("ispe", at + 4)) {
        qToBigEndian(side, file.data() + at + 8);
        qToBigEndian(side, file.data() + at + 12);
    }
    return file;
}

} // namespace

/// HEIC, AVIF and JPEG XL files through the plug-ins, as they are written and as others write them.
class RoundTripTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsPixels_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QImage>("image");
        for (const char *const format : {"heic", "heif", "avif", "jxl"})
            for (const QSize size : {QSize(96, 64), QSize(7, 4), QSize(1, 1)})
                for (const auto pixels :
                     {QImage::Format_RGB888, QImage::Format_RGBA8888, QImage::Format_RGBX64,
                      QImage::Format_RGBA64, QImage::Format_Grayscale8, QImage::Format_Grayscale16})
                    QTest::addRow("%s %dx%d %d", format, size.width(), size.height(), pixels)
                        << QByteArray(format) << gradient(size, pixels);
        for (const char *const format : {"heic", "avif"})
            QTest::addRow("%s premultiplied", format)
                << QByteArray(format) << gradient({96, 64}, QImage::Format_ARGB32_Premultiplied);
    }

    void keepsPixels()
    {
        QFETCH(QByteArray, format);
        QFETCH(QImage, image);
        const QImage back = readBack(written(image, format, 95));
        // The steeper the colours, the more shows of the halved chroma.
        QVERIFY(difference(back, image) <= (image.width() == 7 ? 16 : image.width() == 1 ? 4 : 2));
        QCOMPARE(back.hasAlphaChannel(), image.hasAlphaChannel());
        if (format == "jxl")
            QCOMPARE(readBack(written(image, format, 100)), image);
        else if (image.format() != QImage::Format_Grayscale16)
            QCOMPARE(back.depth() == 64, image.depth() == 64);
    }

    void keepsMoreThanEightBits()
    {
        for (const char *const format : {"heic", "avif"}) {
            const QImage back = readBack(written(gradient({1000, 256}, QImage::Format_RGBX64), format, 100));
            std::set<quint16> levels;
            for (int x = 0; x < back.width(); ++x)
                levels.insert(back.pixelColor(x, 128).rgba64().red());
            QVERIFY2(levels.size() > 400 && *levels.rbegin() > 65000, format);
        }
    }

    void keepsColourSpace()
    {
        QImage image = gradient({32, 32}, QImage::Format_RGB32);
        for (const auto space : {QColorSpace::SRgb, QColorSpace::SRgbLinear, QColorSpace::DisplayP3,
                                 QColorSpace::AdobeRgb, QColorSpace::ProPhotoRgb}) {
            image.setColorSpace(space);
            for (const auto &[format, quality] : {std::pair("heic", -1), std::pair("avif", -1),
                                                  std::pair("jxl", 100), std::pair("jxl", 80)}) {
                // The file keeps such colours, but the decoder cannot give them in this space.
                if (quality != 80 || space != QColorSpace::ProPhotoRgb)
                    QCOMPARE(readBack(written(image, format, quality)).colorSpace(), QColorSpace(space));
            }
        }
    }

    void writesProfilesOfTheOtherModel()
    {
        // Of greys with a gamma of 2.2: the header, and two tags, `kTRC` and the white of D50.
        QByteArray grey(192, 0);
        const auto put = [&grey](qsizetype at, const char *bytes, int length) {
            grey.replace(at, length, QByteArray(bytes, length));
        };
        put(0, "\0\0\0\xC0", 4);
        put(8, "\2\x10\0\0mntrGRAYXYZ ", 16);
        put(36, "acsp", 4);
        put(68, "\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D", 12);
        put(128,
            "\0\0\0\2kTRC\0\0\0\x9C\0\0\0\x0E"
            "wtpt\0\0\0\xAC\0\0\0\x14",
            28);
        put(156, "curv\0\0\0\0\0\0\0\1\2\x33", 14);
        put(172, "XYZ \0\0\0\0\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D", 20);
        const QColorSpace ofGreys = QColorSpace::fromIccProfile(grey);
        QVERIFY(ofGreys.isValid());
        QImage image(32, 32, QImage::Format_RGB32);
        image.fill(QColor(120, 120, 120));
        for (const auto &[space, pixels] :
             {std::pair(ofGreys, QImage::Format_RGB32),
              {ofGreys, QImage::Format_Grayscale8},
              {QColorSpace(QColorSpace::ProPhotoRgb), QImage::Format_Grayscale8}}) {
            QImage original = image.convertToFormat(pixels);
            original.setColorSpace(space);
            const QColor shown = original.convertedToColorSpace(QColorSpace::SRgb).pixelColor(9, 9);
            for (const char *const format : {"heic", "avif", "jxl"}) {
                const QByteArray file = written(original, format, 95);
                const QImage back = readBack(file).convertedToColorSpace(QColorSpace::SRgb);
                QVERIFY2(!back.isNull() && std::abs(back.pixelColor(9, 9).green() - shown.green()) < 4,
                         format);
                QVERIFY(format == QByteArray("jxl") || !file.contains("GRAYXYZ"));
            }
        }
    }

    void qualityCostsBytes()
    {
        const QImage image = gradient({256, 256}, QImage::Format_RGB32);
        for (const auto &[format, best] : {std::pair("heic", 100), {"avif", 100}, {"jxl", 99}}) {
            qsizetype least = 0;
            for (const int quality : {0, 20, 40, 60, best}) {
                const qsizetype size = written(image, format, quality).size();
                QVERIFY2(size > least, qPrintable(format + QString::number(quality)));
                least = size;
            }
        }
        QCOMPARE(written(image, "jxl", -1), written(image, "jxl", 90)); // both of distance 1
    }

    void turnsOnce()
    {
        const QTemporaryDir folder;
        const QString jpeg = folder.filePath("stored.jpg");
        for (int orientation = 1; orientation <= 8; ++orientation) {
            Pictures::save(jpeg, {96, 64}, orientation);
            const QImage stored = QImageReader(jpeg).read();
            for (const QByteArray &file : {heicOf(stored, orientation), jxlOf(stored, orientation)}) {
                const QImage back = readBack(file);
                QCOMPARE(back.size(), QSize(96, 64));
                QCOMPARE(Pictures::quartersOf(back), Pictures::quartersOf(Pictures::quarters({96, 64})));
            }
        }
    }

    void scalesTheThumbnail_data()
    {
        QTest::addColumn<QSize>("thumbnail");
        QTest::addColumn<int>("orientation");
        QTest::addColumn<QSize>("asked");
        QTest::addColumn<QColor>("shown"); // the picture is red, its thumbnail blue
        QTest::addRow("smaller") << QSize(80, 60) << 1 << QSize(64, 48) << QColor(Qt::blue);
        QTest::addRow("same size") << QSize(80, 60) << 1 << QSize(80, 60) << QColor(Qt::blue);
        QTest::addRow("turned") << QSize(80, 60) << 6 << QSize(48, 64) << QColor(Qt::blue);
        QTest::addRow("too small") << QSize(80, 60) << 1 << QSize(100, 75) << QColor(Qt::red);
        QTest::addRow("other shape") << QSize(80, 80) << 1 << QSize(64, 48) << QColor(Qt::red);
    }

    void scalesTheThumbnail()
    {
        QFETCH(QSize, thumbnail);
        QFETCH(int, orientation);
        QFETCH(QSize, asked);
        QFETCH(QColor, shown);
        const QByteArray file = heicOf(filled({160, 120}, Qt::red), orientation, filled(thumbnail, Qt::blue));
        QVERIFY(difference(readBack(file, asked), filled(asked, shown)) < 4);
    }

    void survivesTruncation()
    {
        QImage image = gradient({600, 400}, QImage::Format_RGBA8888);
        for (qsizetype i = 0; i < image.sizeInBytes(); ++i) // noise, for a file of some length
            image.bits()[i] ^= static_cast<uchar>(i * i % 61);
        for (const auto &[format, quality] :
             {std::pair("heic", 50), {"avif", 50}, {"jxl", 50}, {"jxl", 100}}) {
            const QByteArray whole = written(image, format, quality);
            for (qsizetype length = 0; length < whole.size();
                 length += length < 1000 ? 37 : whole.size() / 20) {
                const QImage back = readBack(whole.left(length));
                QVERIFY(back.isNull() || back.size() == image.size());
            }
        }
        QByteArray begun = written(image, "jxl", 50);
        begun.chop(begun.size() / 5);
        QVERIFY(difference(readBack(begun), image) < 32);
    }

    void refusesHugeSizes()
    {
        for (const char *const format : {"heic", "avif", "jxl"}) {
            const QByteArray file = written(gradient({1200, 1200}, QImage::Format_RGB888), format, 50);
            QVERIFY(!readBack(file).isNull());
            QImageReader::setAllocationLimit(2);
            const bool refused = readBack(file).isNull();
            const bool lieRefused = readBack(withSides(file, 64)).isNull(); // the coded picture's size counts
            QImageReader::setAllocationLimit(256);
            QVERIFY2(refused && lieRefused, format);
            if (format != QByteArray("jxl"))
                QVERIFY(readBack(withSides(file, 30000)).isNull());
        }
    }
};

QTEST_GUILESS_MAIN(RoundTripTest)
#include "RoundTripTest.moc"
