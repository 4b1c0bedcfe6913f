#include "formats/heif/HeifCodedSize.h"
#include "shared/image/ImageReading.h"
#include "support/Files.h"
#include "support/Memory.h"
#include "support/Pictures.h"

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
    QSize size = {64, 64};
    QByteArray codec = box("free", {}); ///< what the decoder has to know
    QByteArray reference = "dimg";
    QByteArray without = {};          ///< those of the common properties, by their numbers
    QByteArray own = box("free", {}); ///< a property that the others lack
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

/// An item with the same picture several times over.
Item coded(const QImage &image = Pictures::quarters({64, 64}), bool hevc = false, int times = 1)
{
    const QByteArray file = Pictures::encoded(image, hevc ? "heic" : "avif");
    return {hevc ? "hvc1" : "av01",
            boxOf(file, "mdat").mid(8).repeated(times),
            {},
            image.size(),
            boxOf(file, hevc ? "hvcC" : "av1C")};
}

/// How a file says that its pictures are to be shown.
struct Turn
{
    int quarters = 0;        ///< anticlockwise
    int mirror = -1;         ///< then, if not negative: 0 from top to bottom, 1 from left to right
    bool beforeSize = false; ///< where the list of properties has them
    int primaries = 1;       ///< of the colours, by the code points of video
    bool rightHalf = false;  ///< alone is shown, of 96 x 64 pixels
};

/// Colours by the code points of video.
QByteArray colours(int primaries)
{
    return box("colr", "nclx" + number(primaries, 2) + number(13, 2) + number(6, 2) + "\x80");
}

/// A file that shows the first of the items, all turned.
QByteArray fileOf(const QList<Item> &items, Turn turn = {})
{
    const QByteArray none = number(0, 4); // version and flags
    const QByteArray one = number(1, 4);
    QByteArray properties = box("pixi", none + "\3\10\10\10") + box("irot", number(turn.quarters, 1))
                            + (turn.mirror < 0 ? box("free", {}) : box("imir", number(turn.mirror, 1)))
                            + colours(turn.primaries)
                            + (turn.rightHalf ? box("clap", number(48, 4) + one + number(64, 4) + one
                                                                + number(24, 4) + one + number(0, 4) + one)
                                              : box("free", {}));
    QByteArray types, places, links, parts, data;
    for (int i = 0; i < items.size(); ++i) {
        const Item &item = items[i];
        const QByteArray id = number(i + 1, 2);
        types += box("infe", number(2 << 24, 4) + id + number(0, 2) + item.type + number(0, 1));
        places += id + number(1, 2) + number(0, 2) + number(1, 2) + number(data.size(), 4)
                  + number(item.data.size(), 4);
        const QByteArray sizes = number(6 + 3 * i, 1) + number(7 + 3 * i, 1);
        QByteArray linked = "\1\4" + (turn.beforeSize ? "\2\3\5" + sizes : sizes + "\2\3\5");
        for (const char property : item.without)
            linked.remove(linked.indexOf(property), 1);
        links += id + number(linked.size() + 1, 1) + linked + number(8 + 3 * i, 1);
        properties += box("ispe", none + number(item.size.width(), 4) + number(item.size.height(), 4))
                      + item.codec + item.own;
        data += item.data;
        QByteArray ids;
        for (const int part : item.parts)
            ids += number(part, 2);
        if (!ids.isEmpty())
            parts += box(item.reference, id + number(item.parts.size(), 2) + ids);
    }
    const QByteArray count = number(items.size(), 2);
    return box("ftyp", "avif" + none + "mif1avif")
           + box("meta", none + box("hdlr", none + none + "pict" + QByteArray(13, 0))
                             + box("pitm", none + number(1, 2)) + box("iinf", none + count + types)
                             + box("iloc", number(1 << 24, 4) + number(0x4400, 2) + count + places)
                             + box("iprp", box("ipco", properties)
                                               + box("ipma", none + number(items.size(), 4) + links))
                             + box("iref", none + parts) + box("idat", data));
}

} // namespace

/// HEIF files box by box: pictures made of others, turned, with thumbnails, and streams that hide their size.
class HeifItemsTest : public FolderTest
{
    Q_OBJECT

private slots:
    void refusesEndlessPictures()
    {
        QList<Item> tree;
        for (int next = 2; next < 9; ++next)
            tree << overlay(64, QList<int>(20, next));
        for (const QList<Item> &items : {QList<Item>{{"iden", {}, {1}}},         // itself
                                         {{"iden", {}, {2}}, {"iden", {}, {1}}}, // in rings
                                         {overlay(64, {2}), overlay(64, {1}), coded()},
                                         {grid(64, {2}), grid(64, {1}), coded()},
                                         {overlay(32000, {2}), coded()},
                                         {grid(20000, QList<int>(250, 2)), coded()},
                                         {coded(Pictures::quarters({64, 64}), true, 2)},
                                         tree << coded()}) {
            const qint64 before = peakKilobytes();
            QElapsedTimer timer;
            timer.start();
            QVERIFY2(Pictures::decoded(fileOf(items)).isNull(), items[0].type);
            QVERIFY2(timer.elapsed() < 1000 && peakKilobytes() - before < 64 * 1024, items[0].type);
        }
    }

    void readsPicturesOfPictures()
    {
        for (const QList<Item> &items : {QList<Item>{coded()},
                                         {coded(Pictures::quarters({64, 64}), true)},
                                         {{"iden", {}, {2}}, coded()},
                                         {overlay(64, {2, 3}), coded(), coded()},
                                         {grid(64, {2}), coded()},
                                         {overlay(64, {2}), grid(64, {3}), coded()}}) {
            for (const QByteArray &behind : {QByteArray(), QByteArray("\0\0\0\5rest of a file", 19)}) {
                const QImage image = Pictures::decoded(fileOf(items) + behind);
                QCOMPARE(image.size(), QSize(64, 64));
                QCOMPARE(Pictures::quartersOf(image), "red green blue yellow");
                QCOMPARE(Pictures::quartersOf(Pictures::decoded(fileOf(items) + behind, {48, 20})),
                         "red green blue yellow");
            }
        }
    }

    void turnsOnce()
    {
        const QImage upright = Pictures::quarters({96, 64});
        const int orientations[][3] = {{1, 4, 2}, {8, 5, 7}, {3, 2, 4}, {6, 7, 5}}; // by turn and mirror
        for (int turn = 0; turn < 4; ++turn)
            for (const int mirror : {-1, 0, 1})
                for (const int choice : {0, 1, 2, 3}) {
                    const auto format = choice % 2 ? QImage::Format_RGBX64 : QImage::Format_RGB32;
                    const bool half = choice > 1;
                    const QImage stored = Pictures::asStored(upright, orientations[turn][mirror + 1]);
                    const QByteArray file =
                        fileOf({coded(stored.convertToFormat(format))}, {turn, mirror, false, 12, half});
                    const QImage image = Pictures::decoded(file);
                    QCOMPARE(image.size(), QSize(half ? 48 : 96, 64));
                    QCOMPARE(image.colorSpace(), QColorSpace(QColorSpace::DisplayP3));
                    QCOMPARE(image.depth() == 64, format == QImage::Format_RGBX64);
                    for (const QImage &shown : {image, Pictures::decoded(file, image.size() * 2 / 3)})
                        QCOMPARE(Pictures::quartersOf(shown),
                                 half ? "green green yellow yellow" : "red green blue yellow");
                }
    }

    void theDecodedSizeDecides()
    {
        newFolder();
        const QImage stored = Pictures::asStored(Pictures::quarters({400, 600}), 6);
        Item thumbnail = coded(stored.scaled(300, 200));
        thumbnail.parts = {1};
        thumbnail.reference = "thmb";
        for (const QList<Item> &items : {QList<Item>{coded(stored)}, {coded(stored), thumbnail}}) {
            write("a.avif", fileOf(items, {3, -1, true}));
            const auto made = ImageReading::readThumbnail(path("a.avif"), 256);
            QCOMPARE(made.fullSize, QSize(400, 600));
            QCOMPARE(made.image.size(), QSize(171, 256));
            QCOMPARE(Pictures::quartersOf(made.image), "red green blue yellow");
        }
    }

    void isDecodedOnce()
    {
        struct Counting : QBuffer
        {
            using QBuffer::QBuffer;
            qint64 begin = 0;
            int reads = 0; ///< from there on
            qint64 readData(char *bytes, qint64 most) override
            {
                reads += pos() >= begin;
                return QBuffer::readData(bytes, most);
            }
        };
        for (const char *const format : {"avif", "heic"}) {
            QByteArray file = Pictures::encoded(Pictures::quarters({96, 64}), format);
            const qsizetype data = file.indexOf("mdat") + 4;
            std::fill(file.begin() + data, file.end(), char(0x55)); // broken: nothing may try it again
            QList<int> reads;
            for (const QSize size : {QSize(), QSize(24, 16)}) {
                Counting device(&file);
                device.begin = data;
                QVERIFY(device.open(QIODevice::ReadOnly));
                QImageReader reader(&device, format);
                reader.setScaledSize(size);
                QVERIFY(reader.read().isNull());
                reads.append(device.reads);
            }
            QVERIFY2(reads[0] > 0 && reads[1] == reads[0], format);
        }
    }

    void scalesTheThumbnail()
    {
        const QByteArray turned = box("irot", "\2"), p3 = colours(12);
        const QByteArray icc = box("colr", "prof" + QColorSpace(QColorSpace::DisplayP3).iccProfile());
        const QByteArray one = number(1, 4);
        const QByteArray cut =
            box("clap", number(320, 4) + one + number(240, 4) + one + (number(0, 4) + one).repeated(2));
        struct Row
        {
            const char *what;
            bool isUsed;
            QSize size = {320, 240};
            QSize asked = {256, 192};
            Turn turn = {};
            QByteArray without = {};
            QByteArray own = box("free", {});
            QByteArray ofPicture = box("free", {});
        };
        const Row rows[] = {{"larger", true},
                            {"as large", true, {320, 240}, {320, 240}},
                            {"turned as the picture", true, {320, 240}, {192, 256}, {3}},
                            {"mirrored as the picture", true, {320, 240}, {256, 192}, {0, 1}},
                            {"too small", false, {320, 240}, {400, 300}},
                            {"too short for any", false, {252, 189}, {64, 48}},
                            {"of another shape", false, {320, 320}},
                            {"not turned", false, {320, 240}, {256, 192}, {2}, "\2"},
                            {"turned on its head", false, {320, 240}, {256, 192}, {}, "\2", turned},
                            {"not mirrored", false, {320, 240}, {256, 192}, {0, 0}, "\3"},
                            {"cut out", false, {320, 240}, {256, 192}, {}, {}, cut, cut},
                            {"of no colours told", false, {320, 240}, {256, 192}, {}, "\4"},
                            {"of other primaries", false, {320, 240}, {256, 192}, {}, "\4", p3},
                            {"of a profile", false, {320, 240}, {256, 192}, {}, {}, icc},
                            {"of the same profile", true, {320, 240}, {256, 192}, {}, {}, icc, icc}};
        for (const Row &row : rows) {
            Item picture = coded(Pictures::quarters({640, 480}));
            Item thumbnail = coded(Pictures::asStored(Pictures::quarters(row.size), 2)); // mirrored
            thumbnail.parts = {1};
            thumbnail.reference = "thmb";
            thumbnail.without = row.without;
            thumbnail.own = row.own;
            picture.own = row.ofPicture;
            const QByteArray file = fileOf({picture, thumbnail}, row.turn);
            const QImage image = Pictures::decoded(file, row.asked);
            QVERIFY2(image.size() == row.asked, row.what);
            const QImage full = Pictures::decoded(file); // which is no thumbnail
            QVERIFY2((Pictures::quartersOf(image) != Pictures::quartersOf(full)) == row.isUsed, row.what);
            QVERIFY2(image.colorSpace() == full.colorSpace(), row.what);
        }
    }

    void findsTheSizeOfAv1()
    {
        for (const QByteArray &before :
             {QByteArray(), QByteArray("\x12\0\x12\0", 4),    // delimiters
              QByteArray("\x7A\x03\1\2\x80"),                 // padding
              QByteArray("\x7E\0\x81\0\x80", 5),              // extended, of a length of two bytes
              QByteArray("\x0A\x06\x18\x04\x40\0\0\0", 8)}) { // a smaller picture
            const QByteArray stream = before + coded().data;
            int units = 100;
            const auto read = [&](qint64 at, qint64 length) { return stream.mid(at, length); };
            QCOMPARE(Heif::av1StreamSize(read, stream.size(), units), QSize(64, 64));
            QVERIFY(units > 90);
        }
    }
};

QTEST_GUILESS_MAIN(HeifItemsTest)
#include "HeifItemsTest.moc"
