#include "formats/heif/HeifCodedSize.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QImageReader>
#include <QImageWriter>
#include <QtEndian>
#include <QTest>

#include <sys/resource.h>

namespace {

QByteArray number(quint32 value, int bytes)
{
    QByteArray all(4, 0);
    qToBigEndian(value, all.data());
    return all.right(bytes);
}

QByteArray box(const QByteArray &type, const QByteArray &contents)
{
    return number(8 + contents.size(), 4) + type + contents;
}

struct Item
{
    QByteArray type;
    QByteArray data;
    QList<int> parts; ///< numbers of items, from 1
};

Item grid(int sides, const QList<int> &parts)
{
    return {"grid", number(1, 2) + number(parts.size() - 1, 2) + number(sides, 4) + number(sides, 4), parts};
}

Item overlay(int sides, const QList<int> &parts)
{
    return {"iovl",
            number(1, 2) + number(0, 4) + number(0xFFFF, 4) + number(sides, 4) + number(sides, 4)
                + QByteArray(8 * parts.size(), 0),
            parts};
}

/// The first box of the type in a file of ours.
QByteArray boxOf(const QByteArray &file, const QByteArray &type)
{
    const qsizetype at = file.indexOf(type) - 4;
    return file.mid(at, qFromBigEndian<quint32>(file.constData() + at));
}

/// A red picture of 64 pixels square.
QByteArray written()
{
    QImage image(64, 64, QImage::Format_RGB888);
    image.fill(Qt::red);
    QBuffer buffer;
    return QImageWriter(&buffer, "avif").write(image) ? buffer.data() : QByteArray();
}

/// A file of the items, all said to be of 64 pixels square, that shows the first.
QByteArray fileOf(const QList<Item> &items)
{
    QByteArray types, places, links, parts, data;
    for (int i = 0; i < items.size(); ++i) {
        const Item &item = items[i];
        const QByteArray id = number(i + 1, 2);
        types += box("infe", number(2 << 24, 4) + id + number(0, 2) + item.type + number(0, 1));
        places += id + number(1, 2) + number(0, 2) + number(1, 2) + number(data.size(), 4)
                  + number(item.data.size(), 4);
        links += id + number(3, 1) + number(1, 1) + number(2, 1) + number(3, 1);
        data += item.data;
        QByteArray ids;
        for (const int part : item.parts)
            ids += number(part, 2);
        if (!ids.isEmpty())
            parts += box("dimg", id + number(item.parts.size(), 2) + ids);
    }
    const QByteArray count = number(items.size(), 2);
    const QByteArray none = number(0, 4); // version and flags
    const QByteArray properties = box("ispe", none + number(64, 4) + number(64, 4)) + boxOf(written(), "av1C")
                                  + box("pixi", none + QByteArray("\3\10\10\10"));
    return box("ftyp", "avif" + none + "mif1avif")
           + box("meta", none + box("hdlr", none + none + "pict" + QByteArray(13, 0))
                             + box("pitm", none + number(1, 2)) + box("iinf", none + count + types)
                             + box("iloc", number(1 << 24, 4) + number(0x4400, 2) + count + places)
                             + box("iprp", box("ipco", properties)
                                               + box("ipma", none + number(items.size(), 4) + links))
                             + box("iref", none + parts) + box("idat", data));
}

QImage readBack(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return QImageReader(&buffer).read();
}

qint64 peakKilobytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

/// Pictures that HEIF files put together of others, and streams that hide their size.
class HeifItemsTest : public QObject
{
    Q_OBJECT

private slots:
    void refusesEndlessPictures_data()
    {
        QTest::addColumn<QList<Item>>("items");
        const Item coded{"av01", boxOf(written(), "mdat").mid(8), {}};
        QTest::newRow("itself") << QList<Item>{{"iden", {}, {1}}};
        QTest::newRow("identity ring") << QList<Item>{{"iden", {}, {2}}, {"iden", {}, {1}}};
        QTest::newRow("overlay ring") << QList<Item>{overlay(64, {2}), overlay(64, {1}), coded};
        QTest::newRow("grid ring") << QList<Item>{grid(64, {2}), grid(64, {1}), coded};
        QTest::newRow("huge overlay") << QList<Item>{overlay(32000, {2}), coded};
        QTest::newRow("huge grid") << QList<Item>{grid(20000, QList<int>(250, 2)), coded};
        QList<Item> tree;
        for (int next = 2; next < 9; ++next)
            tree << overlay(64, QList<int>(20, next));
        QTest::newRow("tree") << tree + QList<Item>{coded};
    }

    void refusesEndlessPictures()
    {
        QFETCH(QList<Item>, items);
        const qint64 before = peakKilobytes();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(readBack(fileOf(items)).isNull());
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(peakKilobytes() - before < 64 * 1024);
    }

    void readsPicturesOfPictures()
    {
        const Item coded{"av01", boxOf(written(), "mdat").mid(8), {}};
        for (const QList<Item> &items : {QList<Item>{coded},
                                         {{"iden", {}, {2}}, coded},
                                         {overlay(64, {2, 3}), coded, coded},
                                         {grid(64, {2}), coded},
                                         {overlay(64, {2}), grid(64, {3}), coded}}) {
            const QImage image = readBack(fileOf(items));
            QCOMPARE(image.size(), QSize(64, 64));
            QVERIFY(image.pixelColor(20, 20).red() > 200);
        }
    }

    void findsTheSizeOfAv1_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::newRow("plain") << QByteArray();
        QTest::newRow("delimiters") << QByteArray("\x12\0\x12\0", 4);
        QTest::newRow("padding") << QByteArray("\x7A\x03\1\2\x80");
        QTest::newRow("extended") << QByteArray("\x7E\0\x81\0\x80", 5); // and a length of two bytes
        QTest::newRow("smaller") << QByteArray("\x0A\x06\x18\x04\x40\0\0\0", 8);
    }

    void findsTheSizeOfAv1()
    {
        QFETCH(QByteArray, before);
        const QByteArray stream = before + boxOf(written(), "mdat").mid(8);
        int units = 100;
        const auto read = [&](qint64 at, qint64 length) { return stream.mid(at, length); };
        QCOMPARE(Heif::av1StreamSize(read, stream.size(), units), QSize(64, 64));
        QVERIFY(units > 90);
    }
};

QTEST_GUILESS_MAIN(HeifItemsTest)
#include "HeifItemsTest.moc"
