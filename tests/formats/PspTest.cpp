#include "support/ByteFile.h"
#include "support/PspFiles.h"

#include <QtGui>
#include <QtTest>

namespace {

QImage patterned(QSize size, QImage::Format format)
{
    QImage image(size, format);
    if (format == QImage::Format_Indexed8)
        image.setColorTable({qRgb(10, 20, 30), qRgb(200, 100, 50), qRgb(0, 0, 255)});
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            if (format == QImage::Format_Indexed8)
                image.setPixel(x, y, (x / 2 + y) % 3);
            else
                image.setPixelColor(x, y, QColor(x / 3 * 37 % 256, y * 11 % 256, 100, 255 - y * 5 % 250));
        }
    }
    return image;
}

} // namespace

class PspTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindIsRead()
    {
        for (const auto format : {QImage::Format_ARGB32, QImage::Format_RGBA64, QImage::Format_Indexed8,
                                  QImage::Format_Grayscale8}) {
            for (const auto compression : {PspFiles::Raw, PspFiles::RunLength, PspFiles::Zip}) {
                for (const QSize size : {QSize(1, 1), QSize(7, 4), QSize(300, 9)}) {
                    const QImage picture = patterned(size, format);
                    const QImage image = readImage(PspFiles::make({picture, compression, true}));
                    QCOMPARE(image.depth() == 64, format == QImage::Format_RGBA64);
                    QCOMPARE(image.convertToFormat(QImage::Format_RGBA64),
                             picture.convertToFormat(QImage::Format_RGBA64));
                }
            }
        }
    }

    void smallIndexesAreRead()
    {
        for (const int bits : {1, 4}) {
            QImage picture = patterned(QSize(13, 5), QImage::Format_Indexed8);
            for (int pixel = 0; bits == 1 && pixel < 65; ++pixel)
                picture.setPixel(pixel % 13, pixel / 13, pixel / 2 % 2);
            const QImage image = readImage(PspFiles::make({picture, PspFiles::RunLength, true, {}, bits}));
            QCOMPARE(image, picture.convertToFormat(QImage::Format_RGB32));
        }
    }

    void previewServesWhereThePictureIsMissing()
    {
        const QImage picture = patterned(QSize(90, 60), QImage::Format_ARGB32);
        QImage preview(45, 30, QImage::Format_RGB32);
        preview.fill(qRgb(0, 128, 0));
        const QByteArray whole = PspFiles::make({picture, PspFiles::Zip, true, preview});
        QCOMPARE(readImage(whole), picture);
        const QByteArray alone = PspFiles::make({picture, PspFiles::Zip, false, preview});
        for (const QByteArray &bytes : {alone, whole.left(alone.size() + 100)}) {
            const QImage image = readImage(bytes);
            QCOMPARE(image.size(), picture.size());
            QVERIFY(qAbs(qGreen(image.pixel(89, 59)) - 128) < 3);
        }
        preview = QImage(1, 1, QImage::Format_RGB32); // not of this picture
        QVERIFY(readImage(PspFiles::make({picture, PspFiles::Zip, false, preview})).isNull());
    }

    void damageIsRefused()
    {
        for (const auto compression : {PspFiles::Raw, PspFiles::RunLength, PspFiles::Zip}) {
            QByteArray file =
                PspFiles::make({patterned(QSize(33, 20), QImage::Format_ARGB32), compression, true});
            for (qsizetype length = 0; length < file.size() - 200; length += 7) {
                const QImage image = readImage(file.left(length));
                QVERIFY(image.isNull() || !image.hasAlphaChannel()); // whose channel is the last
            }
            for (const qint32 side : {8000, 100000}) {
                const QByteArray size = QByteArray::fromRawData(reinterpret_cast<const char *>(&side), 4);
                const QByteArray stored = file.mid(50, 8);
                file.replace(stored, size + size);
                QElapsedTimer timer;
                timer.start();
                QVERIFY(readImage(file).isNull());
                QVERIFY(timer.elapsed() < 1000);
            }
        }
    }
};

QTEST_MAIN(PspTest)
#include "PspTest.moc"
