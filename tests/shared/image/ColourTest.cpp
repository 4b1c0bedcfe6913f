#include "shared/image/ImageReading.h"
#include "support/ColourProfiles.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtGui>
#include <QtTest>

#include <zlib.h>

/// Colours as the files mean them, come out as sRGB.
class ColourTest : public FolderTest
{
    Q_OBJECT

private:
    static QByteArray bigEndian(const QList<int> &numbers)
    {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        for (const int number : numbers)
            out << number;
        return bytes;
    }

    /// A PNG file of the colours, a row, with these chunks of type and data before its pixels.
    static QByteArray png(const QImage &image, const QList<std::pair<QByteArray, QByteArray>> &chunks)
    {
        constexpr qsizetype behindHeader = 33;
        QByteArray file = Pictures::encoded(image, "png");
        for (const auto &[type, data] : chunks) {
            const QByteArray body = type + data;
            const uLong sum =
                crc32(0, reinterpret_cast<const Bytef *>(body.constData()), static_cast<uInt>(body.size()));
            file.insert(behindHeader, bigEndian({static_cast<int>(data.size())}) + body
                                          + bigEndian({static_cast<int>(sum)}));
        }
        return file;
    }

private slots:
    void init() { newFolder(); }

    void pngGammaAndPrimaries()
    {
        const QList<int> ofSrgb{31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
        const QList<int> ofAdobe{31270, 32900, 64000, 33000, 21000, 71000, 15000, 6000};
        const auto gamma = [](int value) {
            return std::pair<QByteArray, QByteArray>("gAMA", bigEndian({value}));
        };
        const auto primaries = [](const QList<int> &values) {
            return std::pair<QByteArray, QByteArray>("cHRM", bigEndian(values));
        };
        QList<int> nearly = ofSrgb;
        nearly[2] -= 10; // as programs round
        const QColorSpace adobe = QColorSpace::AdobeRgb;
        const QColorSpace srgb = QColorSpace::SRgb;
        using Chunks = QList<std::pair<QByteArray, QByteArray>>;
        QImage image(3, 1, QImage::Format_RGB32);
        image.setPixel(0, 0, qRgb(12, 8, 4));
        image.setPixel(1, 0, qRgb(90, 120, 60));
        image.setPixel(2, 0, qRgb(200, 220, 240));
        for (const auto &[name, chunks, space] :
             {std::tuple("of sRGB", Chunks{primaries(ofSrgb), gamma(45455)}, srgb),
              {"nearly", Chunks{primaries(nearly), gamma(45454)}, srgb},
              {"gamma alone", Chunks{gamma(45455)}, srgb},
              {"sRGB itself", Chunks{primaries(ofSrgb), gamma(45455), {"sRGB", QByteArray(1, 0)}}, srgb},
              {"linear", Chunks{gamma(100000)}, QColorSpace(QColorSpace::SRgbLinear)},
              {"wider", Chunks{primaries(ofAdobe), gamma(45455)}, adobe}}) {
            write("chunks.png", png(image, chunks));
            QImage expected = image;
            expected.setColorSpace(space);
            expected.convertToColorSpace(QColorSpace::SRgb);
            QVERIFY2(Pictures::difference(ImageReading::read(path("chunks.png")), expected) < 1, name);
        }
    }

    void profilesMadeOfTables()
    {
        QImage image = Pictures::quarters(QSize(80, 60));
        QImage expected = image;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                expected.setPixel(x, y, ColourProfiles::rotate(image.pixel(x, y)));
        const QByteArray profile = ColourProfiles::rotated();
        write("tables.png",
              png(image, {{"iCCP", QByteArray("\0\0", 2).prepend('p') + qCompress(profile).mid(4)}}));
        image.setColorSpace(QColorSpace::fromIccProfile(profile));
        for (const char *const format : {"jpg", "heic", "avif", "jxl"})
            write(QStringLiteral("tables.") + format, Pictures::encoded(image, format, 90));
        for (const char *const format : {"png", "jpg", "heic", "avif", "jxl"}) {
            const QString file = path(QStringLiteral("tables.") + format);
            QVERIFY2(Pictures::difference(ImageReading::read(file), expected) < 4, format);
            const QImage small = ImageReading::readThumbnail(file, 10).image;
            QVERIFY2(Pictures::difference(small, expected.scaled(small.size())) < 20, format);
        }
    }
};

QTEST_GUILESS_MAIN(ColourTest)
#include "ColourTest.moc"
