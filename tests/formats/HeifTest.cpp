#include "Samples.h"

#include "formats/heif/HeifTypes.h"
#include "support/Pictures.h"

#include <QColorSpace>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>

#include <set>

using namespace Samples;

namespace {

/// A picture for a file that libheif makes: with a turn, and a thumbnail that need not show the same.
struct Stored
{
    QImage image;
    int orientation = 1;
    QImage thumbnail = {};
};

heif_error append(heif_context *, const void *data, size_t size, void *bytes)
{
    static_cast<QByteArray *>(bytes)->append(static_cast<const char *>(data), static_cast<qsizetype>(size));
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
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

QByteArray fileOf(const Stored &stored)
{
    const Heif::Context context(heif_context_alloc());
    const Heif::Handle handle = addTo(context.get(), stored.image, stored.orientation);
    // An EXIF block that says the same turn again: behind the offset, one entry of tag 0x112.
    QByteArray exif("Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 32);
    exif[25] = static_cast<char>(stored.orientation);
    heif_context_add_exif_metadata(context.get(), handle.get(), exif.constData(), exif.size());
    if (!stored.thumbnail.isNull())
        addTo(context.get(), stored.thumbnail.scaled(2 * stored.thumbnail.size()), stored.orientation,
              handle.get());
    QByteArray bytes;
    heif_writer writer{};
    writer.writer_api_version = 1;
    writer.write = append;
    heif_context_write(context.get(), &writer, &bytes);
    return bytes;
}

QImage filled(QSize size, const QColor &colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// Changes the sides that the container gives.
void setSides(QByteArray &file, quint32 side)
{
    for (qsizetype at = file.indexOf("ispe"); at >= 0; at = file.indexOf("ispe", at + 4)) {
        qToBigEndian(side, file.data() + at + 8);
        qToBigEndian(side, file.data() + at + 12);
    }
}

} // namespace

class HeifTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsPixels_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<double>("tolerance"); // the steeper the colours, the more of the halved chroma shows
        QTest::addRow("photo") << gradient({96, 64}, QImage::Format_RGB32) << 2.0;
        QTest::addRow("alpha") << gradient({96, 64}, QImage::Format_ARGB32) << 2.0;
        QTest::addRow("premultiplied") << gradient({96, 64}, QImage::Format_ARGB32_Premultiplied) << 2.0;
        QTest::addRow("deep") << gradient({96, 64}, QImage::Format_RGBX64) << 2.0;
        QTest::addRow("deep alpha") << gradient({96, 64}, QImage::Format_RGBA64) << 2.0;
        QTest::addRow("grey") << gradient({96, 64}, QImage::Format_Grayscale8) << 2.0;
        QTest::addRow("odd sides") << gradient({7, 4}, QImage::Format_RGB32) << 16.0;
        QTest::addRow("odd alpha") << gradient({7, 4}, QImage::Format_ARGB32) << 16.0;
        QTest::addRow("one pixel") << gradient({1, 1}, QImage::Format_RGB32) << 4.0;
    }

    void keepsPixels()
    {
        QFETCH(QImage, image);
        QFETCH(double, tolerance);
        for (const char *const format : {"heic", "heif", "avif"}) {
            const QImage back = readBack(written(image, format, 95));
            QVERIFY2(difference(back, image) <= tolerance, format);
            QCOMPARE(back.hasAlphaChannel(), image.hasAlphaChannel());
            QCOMPARE(back.depth() == 64, image.depth() == 64);
        }
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
        for (const auto space : {QColorSpace::SRgb, QColorSpace::DisplayP3, QColorSpace::AdobeRgb}) {
            image.setColorSpace(space);
            QCOMPARE(readBack(written(image, "heic", -1)).colorSpace(), QColorSpace(space));
            QCOMPARE(readBack(written(image, "avif", -1)).colorSpace(), QColorSpace(space));
        }
    }

    void qualityCostsBytes()
    {
        const QImage image = gradient({256, 256}, QImage::Format_RGB32);
        for (const char *const format : {"heic", "avif"}) {
            QVERIFY(written(image, format, 10).size() < written(image, format, 60).size());
            QVERIFY(written(image, format, 60).size() < written(image, format, 100).size());
        }
    }

    void turnsOnce()
    {
        const QTemporaryDir folder;
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QString jpeg = folder.filePath("stored.jpg");
            Pictures::save(jpeg, {96, 64}, orientation);
            const QImage stored = QImageReader(jpeg).read();
            const QImage back = readBack(fileOf({stored, orientation}));
            QCOMPARE(back.size(), QSize(96, 64));
            QCOMPARE(Pictures::quartersOf(back), Pictures::quartersOf(Pictures::quarters({96, 64})));
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
        const QImage picture = filled({160, 120}, Qt::red);
        const QImage back = readBack(fileOf({picture, orientation, filled(thumbnail, Qt::blue)}), asked);
        QVERIFY(difference(back, filled(asked, shown)) < 4);
    }

    void survivesTruncation()
    {
        for (const char *const format : {"heic", "avif"}) {
            const QByteArray whole = written(gradient({64, 48}, QImage::Format_ARGB32), format, 50);
            for (qsizetype length = 0; length < whole.size(); length += 37) {
                const QImage back = readBack(whole.left(length));
                QVERIFY(back.isNull() || back.size() == QSize(64, 48));
            }
        }
    }

    void refusesHugeSizes()
    {
        for (const char *const format : {"heic", "avif"}) {
            QByteArray small = written(gradient({64, 64}, QImage::Format_RGB32), format, 50);
            QByteArray large = written(gradient({1200, 1200}, QImage::Format_RGB32), format, 50);
            QVERIFY(!readBack(large).isNull());
            setSides(small, 30000);
            QVERIFY(readBack(small).isNull());
            // The container's size a lie: that of the coded picture counts.
            setSides(large, 64);
            QImageReader::setAllocationLimit(2);
            const bool refused = readBack(large).isNull();
            QImageReader::setAllocationLimit(256);
            QVERIFY2(refused, format);
        }
    }
};

QTEST_GUILESS_MAIN(HeifTest)
#include "HeifTest.moc"
