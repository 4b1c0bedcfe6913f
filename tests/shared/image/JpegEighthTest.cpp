#include "shared/image/JpegEighth.h"
#include "shared/image/ImageReading.h"
#include "shared/image/JpegMarkers.h"
#include "support/Files.h"
#include "support/Pictures.h"

namespace {

/// Smooth shades, another picture for every `seed`.
QImage shades(QSize size, int seed = 0)
{
    return Pictures::painted(size, [seed](int x, int y) {
        return qRgb((x + 60 * seed) % 256, (2 * y + x / 2) % 256, (x + y) / 4 % 256);
    });
}

/// A row of squares of 16 pixels, with a restart marker after each.
QByteArray withRestarts(int count)
{
    QByteArray file;
    for (int i = 0; i < count; ++i) {
        const QByteArray square = Pictures::encoded(shades(QSize(16, 16), i), "jpg", 90);
        const qsizetype scan = square.indexOf("\xff\xda") + 14; // behind the head of three components
        if (i == 0)
            file = square.first(scan);
        else
            file += QByteArray("\xff") + static_cast<char>(0xd0 + (i - 1) % 8);
        file += square.sliced(scan).chopped(2);
    }
    const qsizetype width = file.indexOf("\xff\xc0") + 7;
    qToBigEndian(static_cast<quint16>(16 * count), file.data() + width);
    file.insert(file.indexOf("\xff\xda"), QByteArray("\xff\xdd\0\4\0\1", 6));
    return file + "\xff\xd9";
}

} // namespace

class JpegEighthTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }

    void looksAsThroughQt()
    {
        QImage wide = shades(QSize(640, 400));
        QMap<QString, QByteArray> files;
        for (const int quality : {5, 50, 95, 100})
            files[QStringLiteral("quality %1").arg(quality)] = Pictures::encoded(wide, "jpg", quality);
        files["odd size"] = Pictures::encoded(shades(QSize(641, 399)), "jpg", 90);
        files["narrow"] = Pictures::encoded(shades(QSize(9, 300)), "jpg", 90);
        files["grey"] = Pictures::encoded(wide.convertToFormat(QImage::Format_Grayscale8), "jpg", 90);
        files["progressive, odd size"] = Pictures::progressiveJpeg(shades(QSize(641, 399)));
        files["progressive, grey"] =
            Pictures::progressiveJpeg(wide.convertToFormat(QImage::Format_Grayscale8));
        wide.setColorSpace(QColorSpace::AdobeRgb);
        files["profile"] = Pictures::encoded(wide, "jpg", 90);
        files["progressive, profile"] = Pictures::progressiveJpeg(wide);
        files["restart markers"] = withRestarts(20);
        for (const auto &[name, file] : files.asKeyValueRange()) {
            const QImage eighth = readJpegEighth(file);
            // At the eighth of odd sizes Qt's would start from the quarter.
            const QSize size = eighth.size() / 2;
            const QImage expected = Pictures::decoded(file, size);
            QCOMPARE(eighth.colorSpace(), expected.colorSpace());
            const QImage scaled = eighth.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            QCOMPARE(scaled.format(), expected.format());
            QVERIFY2(Pictures::difference(scaled, expected) < 0.5, qPrintable(name));
        }
    }

    void aPartOfAFileIsLeftToOthers()
    {
        for (const QByteArray &file : {Pictures::encoded(shades(QSize(41, 33)), "jpg", 90), withRestarts(3),
                                       Pictures::progressiveJpeg(shades(QSize(41, 33)))}) {
            QVERIFY(!readJpegEighth(file).isNull());
            for (qsizetype length = 0; length < file.size(); ++length)
                QVERIFY2(readJpegEighth(file.first(length)).isNull(), qPrintable(QString::number(length)));
        }
        QByteArray wrongOrder = withRestarts(3);
        wrongOrder.replace("\xff\xd1", "\xff\xd2");
        QVERIFY(readJpegEighth(wrongOrder).isNull());
    }

    void progressiveIsAsInTheLibraryOnceAllScansAreThere()
    {
        QByteArray file = Pictures::progressiveJpeg(Pictures::noise(QSize(640, 400)));
        const QImage eighth = readJpegEighth(file);
        const QImage expected = Pictures::decoded(file, eighth.size());
        QCOMPARE(eighth.size(), QSize(80, 50));
        for (int y = 0; y < eighth.height(); ++y)
            for (int x = 0; x < eighth.width(); ++x)
                QVERIFY(Pictures::isNear(eighth.pixelColor(x, y), expected.pixelColor(x, y), 2));

        QBuffer buffer(&file);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QList<qint64> ends = JpegMarkers::scanEnds(buffer, 100);
        QVERIFY(ends.size() > 5);
        ends.removeLast();
        for (const qint64 end : ends)
            QVERIFY(readJpegEighth(JpegMarkers::cutAt(buffer, end)).isNull());
    }

    void thumbnailIsQtsWhereTheFileIsCutOff()
    {
        const QByteArray whole = Pictures::encoded(shades(QSize(2400, 1600)), "jpg", 90);
        for (const qsizetype length : {whole.size(), whole.size() / 2}) {
            write("photo.jpg", whole.first(length));
            const ImageReading::Thumbnail made = ImageReading::readThumbnail(path("photo.jpg"), 256);
            QCOMPARE(made.fullSize, QSize(2400, 1600));
            const QImage expected = Pictures::decoded(whole.first(length), QSize(256, 171));
            QVERIFY(Pictures::difference(made.image, expected) < 0.5);
        }
    }
};

QTEST_GUILESS_MAIN(JpegEighthTest)
#include "JpegEighthTest.moc"
