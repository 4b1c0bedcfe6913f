#include "support/Files.h"
#include "support/Pictures.h"
#include "support/Shrunk.h"
#include "support/Tools.h"

#include <set>

using namespace Pictures;

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
class RoundTripTest : public FolderTest
{
    Q_OBJECT

private slots:
    void keepsPixels()
    {
        for (const QByteArray format : {"heic", "heif", "avif", "jxl"})
            for (const QSize size : {QSize(96, 64), QSize(7, 4), QSize(1, 1)})
                for (const auto pixels :
                     {QImage::Format_RGB888, QImage::Format_RGBA8888, QImage::Format_ARGB32_Premultiplied,
                      QImage::Format_RGBX64, QImage::Format_RGBA64, QImage::Format_Grayscale8,
                      QImage::Format_Grayscale16}) {
                    const QImage image = gradient(size, pixels);
                    const QImage back = decoded(encoded(image, format, 95));
                    // The steeper the colours, the more shows of the halved chroma.
                    const double most = size.width() == 7 ? 16 : size.width() == 1 ? 4 : 2;
                    QVERIFY2(difference(back, image) <= most, format + QByteArray::number(pixels));
                    QCOMPARE(back.hasAlphaChannel(), image.hasAlphaChannel());
                    if (format == "jxl" && pixels != QImage::Format_ARGB32_Premultiplied)
                        QCOMPARE(decoded(encoded(image, format, 100)), image);
                    else if (pixels != QImage::Format_Grayscale16)
                        QCOMPARE(back.depth() == 64, image.depth() == 64);
                }
    }

    void shrinksRowByRow()
    {
        for (const char *const format : {"heic", "avif"})
            for (const auto pixels : {QImage::Format_RGB888, QImage::Format_RGBX64, QImage::Format_Grayscale8,
                                      QImage::Format_RGBA8888}) {
                const QByteArray file = encoded(gradient({97, 65}, pixels), format, 95);
                const QImage full = decoded(file);
                for (const QSize size : {QSize(96, 64), QSize(31, 20), QSize(1, 65), QSize(120, 65)}) {
                    const QImage shrunk = decoded(file, size);
                    const QImage same = full.convertToFormat(shrunk.format());
                    const QImage scaled = same.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
                    const bool isPlain = !full.hasAlphaChannel() && size.width() < 97;
                    const auto what = QStringLiteral("%1 %2 %3").arg(format).arg(pixels).arg(size.width());
                    QVERIFY2(shrunk.size() == size && difference(shrunk, scaled) < 1, qPrintable(what));
                    // Newer libraries make colours of planes and of pixels not quite the same way.
                    QVERIFY2(!isPlain || (Shrunk::isOf(same, shrunk, 1) && shrunk != scaled),
                             qPrintable(what));
                }
            }
    }

    void keepsMoreThanEightBits()
    {
        for (const char *const format : {"heic", "avif"}) {
            const QImage back = decoded(encoded(gradient({1000, 256}, QImage::Format_RGBX64), format, 100));
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
            for (const auto &[format, quality] :
                 {std::pair("heic", -1), {"avif", -1}, {"jxl", 100}, {"jxl", 80}})
                // The file keeps such colours, but the decoder cannot give them in this space.
                if (quality != 80 || space != QColorSpace::ProPhotoRgb)
                    QCOMPARE(decoded(encoded(image, format, quality)).colorSpace(), QColorSpace(space));
        }
    }

    void writesProfilesOfTheOtherModel()
    {
        // Of greys with a gamma of 2.2: the header, and two tags, `kTRC` and the white of D50.
        const QByteArray white("\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D", 12);
        const QByteArray grey = QByteArray("\0\0\0\xC0\0\0\0\0\2\x10\0\0mntrGRAYXYZ ", 24) + QByteArray(12, 0)
                                + "acsp" + QByteArray(28, 0) + white + QByteArray(48, 0)
                                + QByteArray("\0\0\0\2kTRC\0\0\0\x9C\0\0\0\x0Ewtpt\0\0\0\xAC\0\0\0\x14", 28)
                                + QByteArray("curv\0\0\0\0\0\0\0\1\2\x33\0\0XYZ \0\0\0\0", 24) + white;
        const QColorSpace ofGreys = QColorSpace::fromIccProfile(grey);
        QVERIFY(ofGreys.isValid());
        QImage image(32, 32, QImage::Format_RGB32);
        image.fill(QColor(120, 120, 120));
        constexpr int ofGamma22 = 121; // in sRGB
        constexpr int ofGamma18 = 139;
        for (const auto &[space, pixels, shown] :
             {std::tuple(ofGreys, QImage::Format_RGB32, ofGamma22),
              {ofGreys, QImage::Format_Grayscale8, ofGamma22},
              {QColorSpace(QColorSpace::ProPhotoRgb), QImage::Format_Grayscale8, ofGamma18}}) {
            QImage original = image.convertToFormat(pixels);
            original.setColorSpace(space);
            for (const char *const format : {"heic", "avif", "jxl"}) {
                const QByteArray file = encoded(original, format, 95);
                const QImage back = decoded(file).convertedToColorSpace(QColorSpace::SRgb);
                QVERIFY2(!back.isNull() && std::abs(back.pixelColor(9, 9).green() - shown) < 4, format);
                QVERIFY(format == QByteArray("jxl") || !file.contains("GRAYXYZ"));
            }
        }
    }

    void missingCodecsCostTheirFormatsAlone()
    {
        if (!qEnvironmentVariableIsSet("LIBHEIF_PLUGIN_PATH"))
            QSKIP("The codecs are there.");
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("libheif-plugin-x265.* libheif-plugin-aomenc"));
        const QImage image = gradient({96, 64}, QImage::Format_RGB888);
        for (const char *const format : {"heic", "avif"})
            QVERIFY(encoded(image, format, 95).isEmpty());
        for (const char *const format : {"jxl", "webp", "png"})
            QCOMPARE(decoded(encoded(image, format, 95)).size(), image.size());
    }

    void qualityCostsBytes()
    {
        const QImage image = gradient({256, 256}, QImage::Format_RGB32);
        for (const auto &[format, best] : {std::pair("heic", 100), {"avif", 100}, {"jxl", 99}}) {
            qsizetype least = 0;
            for (const int quality : {0, 20, 40, 60, best}) {
                const qsizetype size = encoded(image, format, quality).size();
                QVERIFY2(size > least, qPrintable(format + QString::number(quality)));
                least = size;
            }
        }
        QCOMPARE(encoded(image, "jxl", -1), encoded(image, "jxl", 90)); // both of distance 1
    }

    void turnsOnce()
    {
        newFolder();
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QString jpeg = path(QString::number(orientation) + ".jpg");
            Pictures::save(jpeg, {96, 64}, orientation, QColorSpace::DisplayP3);
            QVERIFY(Tools::run("cjxl", {"--quiet", "--lossless_jpeg=1", jpeg, path("a.jxl")}));
            QCOMPARE(decoded(read("a.jxl")).size(), QSize(96, 64));
            QCOMPARE(quartersOf(decoded(read("a.jxl"))), "red green blue yellow");
            QCOMPARE(decoded(read("a.jxl")).colorSpace(), QColorSpace(QColorSpace::DisplayP3));
        }
    }

    void survivesTruncation()
    {
        QImage image = gradient({600, 400}, QImage::Format_RGBA8888);
        for (qsizetype i = 0; i < image.sizeInBytes(); ++i) // noise, for a file of some length
            image.bits()[i] ^= static_cast<uchar>(i * i % 61);
        for (const auto &[format, quality] :
             {std::pair("heic", 50), {"avif", 50}, {"jxl", 50}, {"jxl", 100}}) {
            const QByteArray whole = encoded(image, format, quality);
            for (qsizetype length = 0; length < whole.size();
                 length += length < 1000 ? 37 : whole.size() / 20) {
                const QImage back = decoded(whole.left(length));
                QVERIFY(back.isNull() || back.size() == image.size());
            }
        }
        QByteArray begun = encoded(image, "jxl", 50);
        begun.chop(begun.size() / 5);
        QVERIFY(difference(decoded(begun), image) < 32);
    }

    void refusesHugeSizes()
    {
        for (const char *const format : {"heic", "avif", "jxl"}) {
            const QByteArray file = encoded(gradient({1200, 1200}, QImage::Format_RGB888), format, 50);
            QVERIFY(!decoded(file).isNull());
            QImageReader::setAllocationLimit(2);
            const bool refused = decoded(file).isNull();
            const bool lieRefused = decoded(withSides(file, 64)).isNull(); // the coded picture's size counts
            QImageReader::setAllocationLimit(256);
            QVERIFY2(refused && lieRefused, format);
            if (format != QByteArray("jxl"))
                QVERIFY(decoded(withSides(file, 30000)).isNull());
        }
    }
};

QTEST_GUILESS_MAIN(RoundTripTest)
#include "RoundTripTest.moc"
