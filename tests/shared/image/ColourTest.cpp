#include "shared/image/ImageReading.h"
#include "shared/image/ImageWriting.h"
#include "support/ColourProfiles.h"
#include "support/Files.h"
#include "support/JxlFiles.h"
#include "support/LayeredFiles.h"
#include "support/Pictures.h"
#include "support/PngFiles.h"
#include "support/TiffFiles.h"
#include "support/Tools.h"

#include <exiv2/exiv2.hpp>

/// Colours as the files mean them, come out as sRGB.
class ColourTest : public FolderTest
{
    Q_OBJECT

private:
    using Chunk = std::pair<QByteArray, QByteArray>; ///< type and data

    /// A PNG file of the colours, a row, with these chunks before its pixels.
    static QByteArray png(const QImage &image, const QList<Chunk> &chunks)
    {
        constexpr qsizetype behindHeader = 33;
        QByteArray file = Pictures::encoded(image, "png");
        for (const auto &[type, data] : chunks)
            file.insert(behindHeader, PngFiles::chunk(type, data));
        return file;
    }
    static Chunk profileChunk(const QByteArray &profile)
    {
        return {"iCCP", QByteArray("p\0\0", 3) + qCompress(profile).mid(4)};
    }

private slots:
    void init() { newFolder(); }

    void pngGammaAndPrimaries()
    {
        const QList<int> ofSrgb{31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
        const QList<int> ofAdobe{31270, 32900, 64000, 33000, 21000, 71000, 15000, 6000};
        const auto gamma = [](int value) { return Chunk("gAMA", PngFiles::bigEndian(value)); };
        const auto primaries = [](const QList<int> &values) {
            Chunk chunk("cHRM", {});
            for (const int value : values)
                chunk.second += PngFiles::bigEndian(value);
            return chunk;
        };
        QList<int> nearly = ofSrgb;
        nearly[2] -= 10; // as programs round
        const QColorSpace adobe = QColorSpace::AdobeRgb;
        const QColorSpace srgb = QColorSpace::SRgb;
        const QColorSpace ofGamma(QColorSpace::Primaries::SRgb, 2.2F);
        using Chunks = QList<Chunk>;
        const QRgb colours[]{qRgb(12, 8, 4), qRgb(90, 120, 60), qRgb(200, 220, 240)};
        const QImage image = Pictures::painted({3, 1}, [&](int x, int) { return colours[x]; });
        for (const auto &[name, chunks, space] :
             {std::tuple("of sRGB", Chunks{primaries(ofSrgb), gamma(45455)}, srgb),
              {"nearly", Chunks{primaries(nearly), gamma(45454)}, srgb},
              {"gamma alone", Chunks{gamma(45455)}, srgb},
              {"sRGB itself", Chunks{primaries(ofSrgb), gamma(45455), {"sRGB", QByteArray(1, 0)}}, srgb},
              {"profile of a gamma", Chunks{profileChunk(ofGamma.iccProfile()), gamma(45455)}, ofGamma},
              {"linear", Chunks{gamma(100000)}, QColorSpace(QColorSpace::SRgbLinear)},
              {"wider", Chunks{primaries(ofAdobe), gamma(45455)}, adobe}}) {
            write("chunks.png", png(image, chunks));
            QImage expected = image;
            expected.setColorSpace(space);
            expected.convertToColorSpace(QColorSpace::SRgb);
            QVERIFY2(Pictures::difference(ImageReading::read(path("chunks.png")), expected) < 1, name);
        }
    }

    void profilesOfInks()
    {
        const QByteArray profile = ColourProfiles::rotatedInks();
        const auto shown = [](int cyan, int magenta, int yellow, int black) {
            const auto on = [black](int left) { return left * black / 255; };
            return ColourProfiles::rotate(qRgb(on(cyan), on(magenta), on(yellow)));
        };
        const std::array left{200, 100, 50, 128};
        LayeredFiles::Picture psd{LayeredFiles::Psd, QSize(4, 4), LayeredFiles::Cmyk, 4};
        psd.profile = profile;
        psd.sample = [=](int channel, int, int) { return left[channel]; };
        write("inks.psd", LayeredFiles::make(psd));
        // As YCCK with the marker of Adobe's programs.
        write("inks.icc", profile);
        QVERIFY(Tools::run("convert", {"-size", "40x40", "xc:cmyk(55,155,205,127)", "-profile",
                                       path("inks.icc"), path("inks.jpg")}));
        QVERIFY(read("inks.jpg").contains(QByteArray("Adobe\0d\0\0\0\0\2", 12)));
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
        const QRgb ofAll = shown(left[0], left[1], left[2], left[3]);
        for (const auto &[format, colour] : {std::pair("jpg", ofAll),
                                             {"psd", ofAll},
                                             {"jxl", ofAll},
                                             {"tif", shown(stored(0), stored(1), stored(2), stored(3))}}) {
            const QString file = path(QStringLiteral("inks.") + format);
            QList<QImage> images{ImageReading::read(file)};
            if (format != QByteArray("tif")) // of one colour
                images.append(ImageReading::readThumbnail(file, 10).image);
            for (const QImage &image : images) {
                const QRgb found = image.pixel(2, 2);
                QVERIFY2(Pictures::isNear(found, colour, 7), qPrintable(format + QColor(found).name()));
            }
        }
    }

    /// The picture as an AVIF file with these code points.
    static QByteArray avif(const QImage &image, char primaries, char transfer)
    {
        QByteArray file = Pictures::encoded(image, "avif", 100);
        const qsizetype at = file.indexOf("nclx") + 4;
        file[at + 1] = primaries;
        file[at + 3] = transfer;
        return file;
    }

    void codePointsOfWidePrimaries()
    {
        const QColor stored = QColor::fromRgbF(0.6F, 0.4F, 0.3F);
        QImage image(64, 64, QImage::Format_RGBX64);
        image.fill(stored);
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
                write("camera.avif", avif(image, primaries, transfer));
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

    /// Against what FFmpeg 5.1 with libplacebo 4.208 makes of the same patches on Mesa's lavapipe, from 16
    /// bits by setparams=color_primaries=bt2020:color_trc=smpte2084 (or arib-std-b67),
    /// zscale=m=2020_ncl:r=full, format=yuv444p16, hwupload,
    /// libplacebo=color_primaries=bt709:color_trc=iec61966-2-1:colorspace=gbr:range=pc:dithering=none:
    /// format=rgba64le, the tone mapping left to it (BT.2446 A).
    void highDynamicRange()
    {
        const QList<double> lights{100, 203, 450, 700}; // cd/m2, of HLG at the scene in 1/1000
        const QList<QList<double>> hues{{1, 1, 1},      {0.7, 0.3, 0.15}, {0.15, 0.2, 0.7}, {0.8, 0.4, 0.7},
                                        {1, 0.1, 0.05}, {0.05, 1, 0.1},   {1, 0.95, 0.05}};
        const QList<QRgb> ofPq{0x818181, 0xa7a7a7, 0xd5d5d5, 0xececec, 0x894832, 0xb05f44, 0xe9815f,
                               0xff9871, 0x2b4582, 0x3a5ba6, 0x517adc, 0x6290ff, 0x895274, 0xb16c97,
                               0xe892c8, 0xffaae2, 0xae0004, 0xde000e, 0xff0020, 0xff002f, 0x008d16,
                               0x00b524, 0x00eb3b, 0x00ff50, 0x887f00, 0xb0a500, 0xe1d419, 0xf9ec37};
        const QList<QRgb> ofHlg{0x6f6f6f, 0x989898, 0xcfcfcf, 0xebebeb, 0x6f3a28, 0x975039, 0xd37354,
                                0xfe8d67, 0x203566, 0x2f4a89, 0x4569be, 0x5580e5, 0x724360, 0x9a5d83,
                                0xd885b8, 0xff9fdb, 0x8c0003, 0xbc000a, 0xff0018, 0xff0022, 0x007712,
                                0x00a11f, 0x00e133, 0x00ff41, 0x746d00, 0x9f9500, 0xdacd02, 0xf9eb1b};
        const auto pq = [](double light) {
            const double y = std::pow(light / 10000, 2610.0 / 16384);
            return std::pow((0.8359375 + 18.8515625 * y) / (1 + 18.6875 * y), 78.84375);
        };
        const auto hlg = [](double light) {
            return light < 1000 / 12.0 ? std::sqrt(3 * light / 1000)
                                       : 0.17883277 * std::log(12 * light / 1000 - 0.28466892) + 0.55991073;
        };
        constexpr int side = 32;
        for (const auto &[transfer, signal, expected] :
             {std::tuple<char, std::function<double(double)>, QList<QRgb>>(16, pq, ofPq), {18, hlg, ofHlg}}) {
            const int patches = static_cast<int>(expected.size());
            QImage image(side * patches, 2 * side, QImage::Format_RGBX64);
            image.fill(QColor::fromRgbF(float(signal(1000)), float(signal(1000)), float(signal(1000))));
            QPainter painter(&image);
            for (int i = 0; i < patches; ++i) {
                const auto of = [&, &signal = signal](int channel) {
                    return static_cast<quint16>(
                        std::lround(65535 * signal(lights[i % 4] * hues[i / 4][channel])));
                };
                painter.fillRect(side * i, 0, side, side, QColor::fromRgba64(of(0), of(1), of(2)));
            }
            painter.end();
            write("hdr.png",
                  png(image, {{"cICP", QByteArray("\x09\0\0\1", 4).replace(1, 1, QByteArray(1, transfer))}}));
            write("hdr.avif", avif(image, 9, transfer));
            for (const char *const name : {"hdr.png", "hdr.avif"}) {
                const QImage shown = ImageReading::read(path(name));
                for (int i = 0; i < patches; ++i) {
                    const QRgb found = shown.pixel(side * i + side / 2, side / 2);
                    QVERIFY2(Pictures::isNear(found, expected[i], 5),
                             qPrintable(name + QString::number(i) + QColor(found).name()));
                }
            }
            const QString source = path("hdr.png");
            const QImage mapped = ImageReading::read(source);
            const QImage stored = ImageReading::read(source, ImageReading::Colours::AsStored);
            const QImage small = ImageReading::readThumbnail(source, 224).image;
            QVERIFY(Pictures::difference(small, mapped.scaled(small.size())) < 3);
            const QByteArrayList holding{"png", "avif", "heic", "jxl"};
            for (const QByteArray &format : holding + QByteArrayList{"jpg", "tiff", "webp"}) {
                const bool holds = holding.contains(format);
                const QString target = path(QStringLiteral("target.") + format);
                QFile file(target);
                QVERIFY(file.open(QIODevice::WriteOnly));
                QVERIFY(ImageWriting::write(ImageWriting::fitted(stored, format), format, 95, source, file));
                file.close();
                const QImage kept = ImageReading::read(target, ImageReading::Colours::AsStored);
                const bool says = kept.colorSpace().iccProfile() == stored.colorSpace().iccProfile();
                QVERIFY2(says == holds, format);
                QVERIFY2(!holds || Pictures::difference(kept, stored) < 1, format);
                QVERIFY2(!holds || kept.depth() == 64, format);
                QVERIFY2(Pictures::difference(ImageReading::read(target), mapped) < 2, format);
            }
            QVERIFY(read("target.png").indexOf("cICP") == 37); // where others look for it
            const QByteArray toldByOthers = Tools::run("jxlinfo", {path("target.jxl")}).value_or("");
            QVERIFY(toldByOthers.contains("Rec.2100 primaries")
                    && toldByOthers.contains(transfer == 16 ? "PQ transfer" : "HLG transfer"));
        }
    }

    void profilesMadeOfTables()
    {
        QImage image = Pictures::quarters(QSize(80, 60));
        const QImage expected = Pictures::painted(
            image.size(), [&](int x, int y) { return ColourProfiles::rotate(image.pixel(x, y)); });
        const QByteArray profile = ColourProfiles::rotated();
        write("tables.png", png(image, {profileChunk(profile)}));
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
