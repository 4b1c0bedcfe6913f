#include "shared/ImageReading.h"
#include "support/Files.h"
#include "support/TiffFiles.h"

#include <QtTest>

#include <tiffio.h>

/// TIFF files as scanners and raw converters write them, made by libtiff and read as the program reads.
class TiffTest : public FolderTest
{
    Q_OBJECT

private slots:
    void everyKindIsRead_data()
    {
        QTest::addColumn<int>("tile");
        QTest::addColumn<int>("planes");
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("compression");
        QTest::addColumn<int>("orientation");
        for (const int tile : {0, 16})
            for (const int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
                for (const int samples : {1, 3, 4})
                    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW})
                        QTest::addRow("tile %d planes %d samples %d compression %d", tile, planes, samples,
                                      compression)
                            << tile << planes << samples << compression << 1;
        for (int orientation = 2; orientation <= 8; ++orientation)
            QTest::addRow("orientation %d", orientation)
                << 0 << PLANARCONFIG_SEPARATE << 3 << COMPRESSION_NONE << orientation;
    }
    void everyKindIsRead()
    {
        QFETCH(int, tile);
        QFETCH(int, planes);
        QFETCH(int, samples);
        QFETCH(int, compression);
        QFETCH(int, orientation);
        newFolder();
        TiffFiles::make(path("a.tif"), {tile, planes, samples, compression, orientation});
        const QImage image = ImageReading::read(path("a.tif"), ImageReading::Colours::AsStored);
        QCOMPARE(image.size(), orientation > 4 ? TiffFiles::size.transposed() : TiffFiles::size);
        // Where the stored corner lies in the upright picture: the first pixel of the first row.
        const bool right = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
        const bool bottom = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
        const QPoint corner(right ? image.width() - 1 : 0, bottom ? image.height() - 1 : 0);
        const QPoint toward(right ? -1 : 1, bottom ? -1 : 1);
        for (const QPoint stored : {QPoint(0, 0), QPoint(18, 3), QPoint(5, 20)}) {
            const QPoint along = orientation > 4 ? stored.transposed() : stored;
            const QPoint at = corner + QPoint(along.x() * toward.x(), along.y() * toward.y());
            const QRgba64 pixel = image.pixelColor(at).rgba64();
            QCOMPARE(pixel.red(), TiffFiles::value(stored.x(), stored.y(), 0));
            if (samples >= 3)
                QCOMPARE(pixel.blue(), TiffFiles::value(stored.x(), stored.y(), 2));
            if (samples == 4)
                QCOMPARE(pixel.alpha(), TiffFiles::value(stored.x(), stored.y(), 3));
        }
    }

    void samplesWithoutEndAreRefusedAndPlanesWithoutUsePassedOver()
    {
        newFolder();
        TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_SEPARATE, 20000, COMPRESSION_NONE, 1});
        QVERIFY(ImageReading::read(path("a.tif")).isNull());
        TiffFiles::make(path("a.tif"), {0, PLANARCONFIG_SEPARATE, 16, COMPRESSION_NONE, 1});
        QCOMPARE(ImageReading::read(path("a.tif")).size(), TiffFiles::size);
    }

    void whatIsCutShortOrNonsenseDoesNoHarm()
    {
        newFolder();
        TiffFiles::make(path("a.tif"), {16, PLANARCONFIG_SEPARATE, 4, COMPRESSION_LZW, 1});
        const QByteArray whole = read("a.tif");
        for (qsizetype length = 0; length < whole.size(); length += 37) {
            write("a.tif", whole.first(length));
            ImageReading::read(path("a.tif"));
        }
        QByteArray bytes = whole;
        for (qsizetype i = 0; i < whole.size(); i += 3) { // also widths, tiles and counts out of all bounds
            bytes[i] = char(bytes[i] ^ 0x7f);
            write("a.tif", bytes);
            ImageReading::read(path("a.tif"));
            bytes[i] = whole[i];
        }
    }
};

QTEST_MAIN(TiffTest)
#include "TiffTest.moc"
