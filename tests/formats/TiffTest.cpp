#include "formats/tiff/TiffReader.h"
#include "shared/ImageReading.h"
#include "support/Files.h"
#include "support/Memory.h"
#include "support/Pictures.h"
#include "support/TiffFiles.h"

#include <QtTest>

#include <tiffio.h>

/// TIFF files as scanners and raw converters write them, made by libtiff and read as the program reads.
class TiffTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }
    void everyKindIsRead()
    {
        QList<TiffFiles::Kind> kinds;
        for (const int tile : {0, 16})
            for (const int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
                for (const int samples : {1, 3, 4})
                    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW})
                        kinds.append({tile, planes, samples, compression, 1});
        for (int orientation = 2; orientation <= 8; ++orientation)
            kinds.append({0, PLANARCONFIG_SEPARATE, 3, COMPRESSION_NONE, orientation});
        for (const TiffFiles::Kind &kind : kinds) {
            TiffFiles::make(path("a.tif"), kind);
            const QImage upright = ImageReading::read(path("a.tif"), ImageReading::Colours::AsStored);
            const QImage image = Pictures::asStored(upright, kind.orientation);
            QCOMPARE(image.size(), TiffFiles::size);
            for (const QPoint at : {QPoint(0, 0), QPoint(18, 3), QPoint(5, 20)}) {
                const auto stored = [&](int sample) { return TiffFiles::value(at.x(), at.y(), sample); };
                const QRgba64 pixel = image.pixelColor(at).rgba64();
                QCOMPARE(pixel.red(), stored(0));
                QCOMPARE(pixel.blue(), stored(kind.samples == 1 ? 0 : 2));
                QCOMPARE(pixel.alpha(), kind.samples == 4 ? stored(3) : 0xffff);
            }
        }
    }

    void samplesWithoutEndAreRefusedAndPlanesWithoutUsePassedOver()
    {
        TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_SEPARATE, 20000, COMPRESSION_NONE, 1});
        QVERIFY(ImageReading::read(path("a.tif")).isNull());
        TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_SEPARATE, 16, COMPRESSION_NONE, 1});
        QCOMPARE(ImageReading::read(path("a.tif")).size(), TiffFiles::size);
    }

    void tilesOutOfProportionTakeNoMemory()
    {
        for (const int bits : {8, 16}) {
            TIFF *const file = TIFFOpen(qPrintable(path("a.tif")), "w");
            for (const auto &[tag, value] : {std::pair(TIFFTAG_IMAGEWIDTH, 20),
                                             {TIFFTAG_IMAGELENGTH, 20},
                                             {TIFFTAG_TILEWIDTH, 40000},
                                             {TIFFTAG_TILELENGTH, 40000},
                                             {TIFFTAG_BITSPERSAMPLE, bits},
                                             {TIFFTAG_SAMPLESPERPIXEL, 1},
                                             {TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS},
                                             {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK}})
                TIFFSetField(file, tag, value);
            char run[] = {-127, 0}; // 128 zeros
            TIFFWriteRawTile(file, 0, run, sizeof run);
            TIFFClose(file);
            QFile whole(path("a.tif"));
            QVERIFY(whole.open(QIODevice::ReadOnly));
            const qint64 before = peakKilobytes();
            QVERIFY(TiffReader::read(whole).image.isNull());
            QVERIFY(peakKilobytes() - before < 64 * 1024);
        }
    }
};

QTEST_MAIN(TiffTest)
#include "TiffTest.moc"
