#include "shared/image/ImageReading.h"
#include "support/ColourProfiles.h"
#include "support/Files.h"
#include "support/JxlFiles.h"
#include "support/LayeredFiles.h"
#include "support/Pictures.h"
#include "support/TiffFiles.h"

#include <QtGui>
#include <QtTest>

#include <cstdio>

#include <exiv2/exiv2.hpp>
#include <jpeglib.h>
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

    /// A file of inks that leave these shares of white, of 255; black the fourth.
    static QByteArray inkJpeg(const std::array<JSAMPLE, 4> &left, const QByteArray &profile)
    {
        jpeg_compress_struct info{};
        jpeg_error_mgr errors{};
        info.err = jpeg_std_error(&errors);
        jpeg_create_compress(&info);
        uchar *bytes = nullptr;
        unsigned long length = 0;
        jpeg_mem_dest(&info, &bytes, &length);
        info.image_width = info.image_height = 40;
        info.input_components = 4;
        info.in_color_space = JCS_CMYK;
        jpeg_set_defaults(&info);
        jpeg_set_colorspace(&info, JCS_YCCK); // as Adobe's programs do, with their marker
        jpeg_start_compress(&info, TRUE);
        jpeg_write_icc_profile(&info, reinterpret_cast<const JOCTET *>(profile.constData()),
                               static_cast<unsigned>(profile.size()));
        std::vector<JSAMPLE> row;
        for (int x = 0; x < 40; ++x)
            row.insert(row.end(), left.begin(), left.end());
        JSAMPLE *line = row.data();
        for (int y = 0; y < 40; ++y)
            jpeg_write_scanlines(&info, &line, 1);
        jpeg_finish_compress(&info);
        jpeg_destroy_compress(&info);
        const QByteArray file(reinterpret_cast<const char *>(bytes), static_cast<qsizetype>(length));
        std::free(bytes);
        return file;
    }

    void profilesOfInks()
    {
        const QByteArray profile = ColourProfiles::rotatedInks();
        const auto shown = [](int cyan, int magenta, int yellow, int black) {
            const auto on = [black](int left) { return left * black / 255; };
            return QColor::fromRgb(ColourProfiles::rotate(qRgb(on(cyan), on(magenta), on(yellow))));
        };
        const std::array<JSAMPLE, 4> left{200, 100, 50, 128};
        write("inks.jpg", inkJpeg(left, profile));
        LayeredFiles::Picture psd{LayeredFiles::Psd, QSize(4, 4), LayeredFiles::Cmyk, 4};
        psd.profile = profile;
        psd.sample = [=](int channel, int, int) { return left[channel]; };
        write("inks.psd", LayeredFiles::make(psd));
        JxlFiles::Kind jxl;
        jxl.more = {JXL_CHANNEL_BLACK};
        jxl.profile = profile;
        write("inks.jxl", JxlFiles::make(jxl));
        TiffFiles::Kind tiff;
        tiff.samples = 4;
        tiff.cmyk = true;
        tiff.profile = profile;
        TiffFiles::make(path("inks.tif"), tiff);
        const auto stored = [](int sample) { return 255 - TiffFiles::value(2, 2, sample) / 257; };
        const QColor ofAll = shown(left[0], left[1], left[2], left[3]);
        for (const auto &[format, colour] : {std::pair("jpg", ofAll),
                                             {"psd", ofAll},
                                             {"jxl", ofAll},
                                             {"tif", shown(stored(0), stored(1), stored(2), stored(3))}}) {
            const QString file = path(QStringLiteral("inks.") + format);
            QList<QImage> images{ImageReading::read(file)};
            if (format != QByteArray("tif")) // of one colour
                images.append(ImageReading::readThumbnail(file, 10).image);
            for (const QImage &image : images) {
                const QColor found = image.pixelColor(2, 2);
                const int most =
                    std::max({qAbs(found.red() - colour.red()), qAbs(found.green() - colour.green()),
                              qAbs(found.blue() - colour.blue())});
                QVERIFY2(most < 8, qPrintable(format + found.name() + colour.name()));
            }
        }
    }

    /// The colour, a grey or of 16 bits, as an AVIF file with these code points.
    static QByteArray avif(const QColor &colour, char primaries, char transfer)
    {
        QImage image(64, 64, QImage::Format_RGBX64);
        image.fill(colour);
        QByteArray file = Pictures::encoded(image, "avif", 100);
        const qsizetype at = file.indexOf("nclx") + 4;
        file[at + 1] = primaries;
        file[at + 3] = transfer;
        return file;
    }

    void codePointsOfWidePrimaries()
    {
        const QColor stored = QColor::fromRgbF(0.6F, 0.4F, 0.3F);
        // To the primaries of sRGB (ITU-R BT.2407, 2.2, and for those of Display P3 from their
        // chromaticities).
        const QList<double> fromBt2020{1.6605,  -0.5876, -0.0728, -0.1246, 1.1329,
                                       -0.0083, -0.0182, -0.1006, 1.1187};
        const QList<double> fromP3{1.2249, -0.2247, 0, -0.0420, 1.0419, 0, -0.0196, -0.0786, 1.0979};
        const auto undone = [](double signal) {
            return signal < 0.081 ? signal / 4.5 : std::pow((signal + 0.099) / 1.099, 1 / 0.45);
        };
        const auto shown = [](double light) {
            return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
        };
        for (const auto &[primaries, matrix] : {std::pair('\x09', fromBt2020), {'\x0c', fromP3}})
            for (const char transfer : {1, 6, 14, 15}) {
                write("camera.avif", avif(stored, primaries, transfer));
                const QColor found = ImageReading::read(path("camera.avif")).pixelColor(30, 30);
                const double light[]{undone(stored.redF()), undone(stored.greenF()), undone(stored.blueF())};
                for (int i = 0; i < 3; ++i) {
                    const double expected = shown(matrix[3 * i] * light[0] + matrix[3 * i + 1] * light[1]
                                                  + matrix[3 * i + 2] * light[2]);
                    const float channels[]{found.redF(), found.greenF(), found.blueF()};
                    QVERIFY2(std::abs(channels[i] - expected) * 255 < 2, qPrintable(found.name()));
                }
            }
    }

    void adobeRgbByExifAlone()
    {
        const QImage image = Pictures::quarters(QSize(240, 160));
        QImage adobe = image;
        adobe.setColorSpace(QColorSpace::AdobeRgb);
        adobe.convertToColorSpace(QColorSpace::SRgb);
        for (const auto &[colourSpace, index, expected] :
             {std::tuple(0xffff, "R03", adobe), {0xffff, "R98", image}, {1, "R03", image}}) {
            for (const char *const format : {"jpg", "webp", "tiff"}) {
                const QString file = path(QStringLiteral("camera.") + format);
                write(QFileInfo(file).fileName(), Pictures::encoded(image, format, 100));
                const auto camera = Exiv2::ImageFactory::open(file.toStdString());
                camera->exifData()["Exif.Photo.ColorSpace"] = uint16_t(colourSpace);
                camera->exifData()["Exif.Iop.InteroperabilityIndex"] = index;
                camera->writeMetadata();
                const QImage fromEighth = ImageReading::readThumbnail(file, 30).image; // of a JPEG file
                for (const QImage &read : {ImageReading::read(file), fromEighth})
                    QVERIFY2(Pictures::difference(read, expected.scaled(read.size())) < 4, format);
            }
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
