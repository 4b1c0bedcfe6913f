#include "formats/tiff/TiffReader.h"
#include "shared/image/DecodingNeed.h"
#include "shared/image/ImageReading.h"
#include "support/Files.h"
#include "support/Memory.h"
#include "support/Pictures.h"
#include "support/Shrunk.h"
#include "support/TiffFiles.h"

#include <array>

#include <tiffio.h>

/// TIFF files as scanners, raw converters and laboratories write them, made by libtiff and read as the
/// program reads.
class TiffTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }
    void everyKindIsRead()
    {
        for (const auto &[bits, format] : {std::pair(8, whole),
                                           {12, whole},
                                           {16, whole},
                                           {32, whole},
                                           {32, SAMPLEFORMAT_INT},
                                           {16, floating},
                                           {32, floating},
                                           {64, floating}})
            for (const int samples : {1, 2, 3, 4, 5})
                for (const bool cmyk : {false, true})
                    for (const int tile : {0, 16})
                        for (const int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
                            for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW})
                                if (cmyk ? samples >= 4 : samples <= 4)
                                    showsWhatIsStored(
                                        {tile, planes, samples, compression, 1, bits, format, cmyk});
        QCOMPARE(shrunkKinds, 32); // of grey and of colours, in 8 and 16 bits
        for (int orientation = 2; orientation <= 8; ++orientation)
            showsWhatIsStored({0, PLANARCONFIG_SEPARATE, 3, COMPRESSION_NONE, orientation});
    }

    void tilesCountAsMemory()
    {
        TiffFiles::make(path("a.tif"), {16, PLANARCONFIG_CONTIG, 3, COMPRESSION_LZW, 1, 64, floating});
        const QImageReader reader(path("a.tif"), "orrelan-tiff");
        QCOMPARE(decodingNeed(reader, *reader.device()).decoder, 2 * 16 * 16 * 3 * 8); // stored and decoded
    }

    void labOfEveryKindIsRead()
    {
        // The primaries of sRGB, seen under D50.
        const std::pair<std::array<double, 3>, QColor> colours[] = {{{54.29, 80.81, 69.89}, Qt::red},
                                                                    {{87.82, -79.27, 80.99}, Qt::green},
                                                                    {{29.57, 68.30, -112.03}, Qt::blue},
                                                                    {{50, 0, 0}, QColor(119, 119, 119)},
                                                                    {{100, 0, 0}, Qt::white}};
        for (const auto &[photometric, bits] : {std::pair(PHOTOMETRIC_CIELAB, 32),
                                                {PHOTOMETRIC_CIELAB, 16},
                                                {PHOTOMETRIC_CIELAB, 8},
                                                {PHOTOMETRIC_ICCLAB, 16},
                                                {PHOTOMETRIC_ICCLAB, 8}}) {
            QByteArray row;
            for (const auto &[lab, colour] : colours) {
                for (size_t i = 0; i < 3; ++i) {
                    const double shifted = photometric == PHOTOMETRIC_ICCLAB && i > 0 ? lab[i] + 128 : lab[i];
                    const int whole = qRound(i > 0                               ? shifted * (1 << (bits - 8))
                                             : bits == 8                         ? lab[0] * 2.55
                                             : photometric == PHOTOMETRIC_ICCLAB ? lab[0] * 652.8
                                                                                 : lab[0] * 655.35);
                    const auto number = float(lab[i]);
                    row += bits == 32 ? QByteArray(reinterpret_cast<const char *>(&number), 4)
                                      : QByteArray(reinterpret_cast<const char *>(&whole), bits / 8);
                }
            }
            TIFF *const file = TIFFOpen(qPrintable(path("a.tif")), "w");
            for (const auto &[tag, value] : {std::pair(TIFFTAG_IMAGEWIDTH, int(std::size(colours))),
                                             {TIFFTAG_IMAGELENGTH, 1},
                                             {TIFFTAG_BITSPERSAMPLE, bits},
                                             {TIFFTAG_SAMPLESPERPIXEL, 3},
                                             {TIFFTAG_SAMPLEFORMAT, bits == 32 ? floating : whole},
                                             {TIFFTAG_PHOTOMETRIC, photometric}})
                TIFFSetField(file, tag, value);
            TIFFWriteScanline(file, row.data(), 0);
            TIFFClose(file);
            const QImage image = ImageReading::read(path("a.tif"));
            for (int x = 0; x < int(std::size(colours)); ++x) {
                const QColor shown = image.pixelColor(x, 0), meant = colours[x].second;
                const int tolerance = bits == 8 ? 12 : 3; // eight are coarse near the edge
                const auto isNear = [=](int a, int b) { return std::abs(a - b) <= tolerance; };
                QVERIFY2(
                    isNear(shown.red(), meant.red()) && isNear(shown.green(), meant.green())
                        && isNear(shown.blue(), meant.blue()),
                    qPrintable(QStringLiteral("%1 of %2 bits: ").arg(photometric).arg(bits) + shown.name()));
            }
        }
    }

    void whatQtWritesComesBack()
    {
        for (const auto format :
             {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_Grayscale8, QImage::Format_RGB32,
              QImage::Format_ARGB32, QImage::Format_Grayscale16, QImage::Format_RGBA64}) {
            QImage image = Pictures::quarters({21, 10}).convertToFormat(format);
            image.setDotsPerMeterX(5000);
            if (format == QImage::Format_Mono)
                image.invertPixels(); // with white for 0
            QVERIFY(image.save(path("a.tif")));
            QCOMPARE(QImageReader(path("a.tif"), "orrelan-tiff").imageFormat(), format);
            const QImage read = ImageReading::read(path("a.tif"));
            QCOMPARE(read, image);
            QCOMPARE(read.format(), format);
            QCOMPARE(read.dotsPerMeterX(), 5000);
        }
    }

    void brokenStripLeavesTheOthers()
    {
        for (const int strip : {0, 2}) { // of five rows
            TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_CONTIG, 3, COMPRESSION_LZW, 1, 8});
            TIFF *const whole = TIFFOpen(qPrintable(path("a.tif")), "r");
            const auto at = qint64(TIFFGetStrileOffset(whole, uint32_t(strip)));
            TIFFClose(whole);
            QFile file(path("a.tif"));
            QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(at));
            file.write(QByteArray(8, '\xFF'));
            file.close();
            const QImage image = ImageReading::read(path("a.tif"));
            QCOMPARE(image.pixelColor(20, 5 * strip), QColor(Qt::black));
            QCOMPARE(image.pixelColor(20, 21).red(), TiffFiles::value(20, 21, 0) >> 8);
            QVERIFY(isShrunk());
        }
    }

    void greysBeyondWhiteAreBroughtIntoRange()
    {
        const int most = TiffFiles::value(20, 21, 0); // in the last corner
        for (const double factor : {0.5, 3000.0}) {   // the one stays dark
            TiffFiles::make(path("a.tif"),
                            {0, PLANARCONFIG_CONTIG, 2, COMPRESSION_NONE, 1, 32, floating, false, factor});
            const double share = TiffFiles::value(18, 3, 0) * (factor < 1 ? factor / 65535 : 1.0 / most);
            const QColor shown = ImageReading::read(path("a.tif")).pixelColor(18, 3);
            QVERIFY(std::abs(shown.redF() - share) < 0.01);
            QCOMPARE(shown.alpha() == 255, factor > 1); // alpha has no range of its own
        }
    }

    void samplesWithoutEndAreRefusedAndPlanesWithoutUsePassedOver()
    {
        TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_SEPARATE, 20000, COMPRESSION_NONE, 1});
        QVERIFY(ImageReading::read(path("a.tif")).isNull());
        TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_SEPARATE, 16, COMPRESSION_NONE, 1});
        QCOMPARE(ImageReading::read(path("a.tif")).size(), TiffFiles::size);
    }

    void tilesOutOfProportionAreRefused()
    {
        // One that is huge, and many around a thin picture.
        for (const auto &[size, tile] :
             {std::pair(QSize(20, 20), QSize(40000, 40000)), {QSize(1, 100000), QSize(4096, 16)}}) {
            TIFF *const file = TIFFOpen(qPrintable(path("a.tif")), "w");
            for (const auto &[tag, value] : {std::pair(TIFFTAG_IMAGEWIDTH, size.width()),
                                             {TIFFTAG_IMAGELENGTH, size.height()},
                                             {TIFFTAG_TILEWIDTH, tile.width()},
                                             {TIFFTAG_TILELENGTH, tile.height()},
                                             {TIFFTAG_BITSPERSAMPLE, 8},
                                             {TIFFTAG_SAMPLESPERPIXEL, 1},
                                             {TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS},
                                             {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK}})
                TIFFSetField(file, tag, value);
            QByteArray runs = QByteArray("\x81\0", 2).repeated(4096 * 16 / 128); // of 128 zeros each
            for (uint32_t i = 0; i < TIFFNumberOfTiles(file); ++i)
                TIFFWriteRawTile(file, i, runs.data(), runs.size());
            TIFFClose(file);
            QFile whole(path("a.tif"));
            QVERIFY(whole.open(QIODevice::ReadOnly));
            const qint64 before = peakKilobytes();
            QVERIFY(TiffReader(whole).read().isNull());
            QVERIFY(peakKilobytes() - before < 64 * 1024);
        }
    }

private:
    static constexpr int whole = SAMPLEFORMAT_UINT;
    static constexpr int floating = SAMPLEFORMAT_IEEEFP;

    int shrunkKinds = 0;

    /// False if pictures that are made smaller as their rows come are not of the means of the whole one.
    bool isShrunk()
    {
        QImageReader reader(path("a.tif"), "orrelan-tiff");
        if (!reader.supportsOption(QImageIOHandler::ScaledSize))
            return true;
        ++shrunkKinds;
        const QImage image = reader.read(); // libtiff may go on in the middle of a broken strip
        const QList<QSize> sizes{image.size() / 2, image.size() * 2 / 3, {1, 1}, {1, image.height()}};
        return std::all_of(sizes.begin(), sizes.end(), [&](QSize size) {
            QImageReader smaller(path("a.tif"), "orrelan-tiff");
            smaller.setScaledSize(size);
            const QImage shrunk = smaller.read();
            return shrunk.size() == size && Shrunk::isOf(image, shrunk);
        });
    }

    void showsWhatIsStored(const TiffFiles::Kind &kind)
    {
        TiffFiles::make(path("a.tif"), kind);
        QVERIFY(isShrunk());
        const QImage upright = ImageReading::read(path("a.tif"), ImageReading::Colours::AsStored);
        const QImage image = Pictures::asStored(upright, kind.orientation);
        QCOMPARE(image.size(), TiffFiles::size);
        for (const QPoint at : {QPoint(0, 0), QPoint(18, 3), QPoint(5, 20)}) {
            const auto stored = [&](int i) { return TiffFiles::value(at.x(), at.y(), i) / 65535.0; };
            const auto shown = [&](int sample) {
                return kind.cmyk ? (1 - stored(sample)) * (1 - stored(3)) : stored(sample);
            };
            const QColor colour = image.pixelColor(at);
            const double tolerance = kind.bits == 8 ? 0.01 : 0.0005; // 12 bits
            const auto isNear = [=](double a, double b) { return std::abs(a - b) < tolerance; };
            QVERIFY2(
                isNear(colour.redF(), shown(0)) && isNear(colour.blueF(), shown(kind.colours() == 1 ? 0 : 2))
                    && isNear(colour.alphaF(), kind.hasAlpha() ? stored(kind.samples - 1) : 1),
                qPrintable(QString::asprintf("%d bits, %d samples, format %d, tile %d, planes %d", kind.bits,
                                             kind.samples, kind.sampleFormat, kind.tile, kind.planes)));
        }
    }
};

QTEST_MAIN(TiffTest)
#include "TiffTest.moc"
