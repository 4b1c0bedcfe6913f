#include "shared/image/Flipping.h"
#include "shared/image/ImageReading.h"
#include "support/Files.h"
#include "support/Pictures.h"

/// Files that Qt's own plug-ins give nothing of, though others show them.
class DamagedFilesTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }

    void whatThereIsIsShown()
    {
        const QImage picture = Pictures::quarters({400, 400});
        const QByteArray jpeg = Pictures::encoded(picture, "jpg", 90);
        const QByteArray noJpeg("\xff\xc0\0\3\1\xff\xc4\0\3\1", 10); // a second frame, no table
        const QByteArray cutPng = png().left(png().size() * 7 / 10);
        QByteArray badPng = png();
        badPng[badPng.size() - 13] ^= 1; // of the last checksum
        const QString upper = "red green ? ?";
        const struct
        {
            const char *name;
            QByteArray bytes;
            QString shown;
        } files[] = {
            {"cut png", cutPng, upper},
            {"png with a bit wrong", badPng, "red green blue yellow"},
            {"jpeg with a wrong marker for its end", jpeg.chopped(2) + noJpeg, "red green blue yellow"},
            {"jpeg with a wrong marker in its middle", jpeg.left(jpeg.size() * 7 / 10) + noJpeg, upper},
            {"jpeg whose last scan is none", Pictures::progressiveJpeg(picture).chopped(2) + noJpeg,
             "red green blue yellow"},
            {"cut bmp", Pictures::encoded(flipped(picture, Qt::Vertical), "bmp").left(400 * 1200 * 7 / 10),
             "? ? red green"},
        };
        for (const auto &[name, bytes, shown] : files) {
            write("a", bytes);
            for (const QImage &image :
                 {ImageReading::read(path("a")), ImageReading::readThumbnail(path("a"), 300).image,
                  ImageReading::readThumbnail(path("a"), 40).image})
                QVERIFY2(Pictures::quartersOf(image) == shown,
                         qPrintable(QString(name) + ": " + Pictures::quartersOf(image)));
        }
    }

    void everyKindOfBitmapIsRead()
    {
        const QList<quint32> uneven{0xffe00000, 0x1ffc00, 0x3ff}, swapped{0xff, 0xff00, 0xff0000, 0xff000000};
        const struct
        {
            int bits;
            int compression;
            QList<quint32> masks;
            QByteArray row;
            QList<QRgb> shown;
        } kinds[] = {
            {2, 0, {}, QByteArray("\x1b\0\0\0", 4), {0xff000000, 0xff112233, 0xffff0000, 0xff00ff00}},
            {8, 1, {}, QByteArray("\2\2\0\0\0\1", 6), {0xffff0000, 0xffff0000, 0xff000000, 0xff000000}},
            {32, 3, uneven, words({0xffe00000, 0x80000000 | 0x200}), {0xffff0000, 0xff800080}},
            {32, 6, swapped, words({0x80ff00ffU, 0xff332211U}), {0x80ff00ff, 0xff112233}},
            {32, 6, swapped, words({0xff, 0x332211}), {0xffff0000, 0xff112233}},    // alpha that was left out
            {32, 0, {}, words({0x00112233, 0x80445566}), {0xff112233, 0xff445566}}, // the fourth byte is none
            {16, 3, {0xf00, 0xf0, 0xf}, words({0x0f00 | 0x00f1 << 16}), {0xffff0000, 0xff00ff11}},
            {24, 0, {}, QByteArray("\1\2\3\4\5\6\0\0", 8), {0xff030201, 0xff060504}},
        };
        for (const auto &[bits, compression, masks, row, shown] : kinds) {
            for (const int height : {2, -2}) { // from below and from above
                QByteArray bytes;
                QDataStream out(&bytes, QIODevice::WriteOnly);
                out.setByteOrder(QDataStream::LittleEndian);
                const auto offset = quint32(54 + 4 * masks.size() + (bits <= 8 ? 16 : 0));
                out << quint16(0x4d42) << quint32(0) << quint32(0) << offset << quint32(40)
                    << qint32(shown.size()) << qint32(height) << quint16(1) << quint16(bits)
                    << quint32(compression) << quint32(0) << qint32(5000) << qint32(5000)
                    << quint32(bits <= 8 ? 4 : 0) << quint32(0);
                for (const quint32 mask : masks)
                    out << mask;
                if (bits <= 8)
                    for (const quint32 colour : {0x000000U, 0x112233U, 0xff0000U, 0x00ff00U})
                        out << colour;
                write("a.bmp", bytes + row + row);
                const QImage image = ImageReading::read(path("a.bmp"));
                QCOMPARE(image.size(), QSize(int(shown.size()), 2));
                QCOMPARE(image.dotsPerMeterX(), 5000);
                for (int x = 0; x < shown.size(); ++x)
                    QCOMPARE(QString::number(image.pixel(x, height > 0), 16), QString::number(shown[x], 16));
            }
        }
    }

private:
    static QByteArray words(const QList<quint32> &values)
    {
        QByteArray bytes;
        for (const quint32 value : values)
            bytes += QByteArray(reinterpret_cast<const char *>(&value), 4);
        return bytes;
    }

    /// A PNG file of noise in the colours of the quarters, so that its bytes are spread over its rows.
    static QByteArray png()
    {
        const QImage image = Pictures::quarters({400, 400});
        QRandomGenerator noise(1);
        const auto pixel = [&](int x, int y) { return image.pixel(x, y) ^ noise.bounded(8U); };
        return Pictures::encoded(Pictures::painted(image.size(), pixel), "png");
    }
};

QTEST_GUILESS_MAIN(DamagedFilesTest)
#include "DamagedFilesTest.moc"
