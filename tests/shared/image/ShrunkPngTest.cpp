#include "shared/image/ShrunkPng.h"

#include "support/Pictures.h"
#include "support/PngFiles.h"

#include <QTest>

namespace {

using namespace PngFiles;

/// Random bytes, each row behind the number of a filter: the rows of some picture.
QByteArray rows(QSize size, ColourType type)
{
    QRandomGenerator random(1);
    QByteArray rows;
    for (int y = 0; y < size.height(); ++y) {
        rows += static_cast<char>(random.bounded(5));
        for (int i = 0; i < channels(type) * size.width(); ++i)
            rows += static_cast<char>(random.bounded(256));
    }
    return rows;
}

QByteArray shrunk(QByteArray file, QSize size)
{
    QBuffer buffer(&file);
    return buffer.open(QIODevice::ReadOnly) ? shrunkPng(buffer, size) : "unreadable";
}

} // namespace

class ShrunkPngTest : public QObject
{
    Q_OBJECT

private slots:
    void isAsTheScalingPlugin()
    {
        for (const QSize full : {QSize(1, 1), QSize(7, 5), QSize(64, 48), QSize(301, 3), QSize(5, 601)}) {
            for (const ColourType type : shrunkTypes()) {
                const QByteArray whole = file(header(full, type), packed(rows(full, type)));
                for (const QSize size : {full, full / 2, full * 2 / 3, full - QSize(1, 1), QSize(2, 2),
                                         QSize(1, full.height()), QSize(full.width(), 1)}) {
                    if (size.isEmpty() || size.boundedTo(full) != size)
                        continue;
                    const QImage made = Pictures::decoded(shrunk(whole, size));
                    QCOMPARE(made.size(), size);
                    QVERIFY(isAsThePlugin(made, Pictures::decoded(whole, size)));
                }
            }
        }
    }

    void hundredsOfWhiteRowsComeIntoOne()
    {
        const QByteArray white = QByteArray(1, '\0') + QByteArray(15, '\xff');
        const QByteArray whole = file(header(QSize(5, 601), Rgb), packed(white.repeated(601)));
        QImage expected(5, 2, QImage::Format_RGB32);
        expected.fill(Qt::white);
        QCOMPARE(Pictures::decoded(shrunk(whole, expected.size())), expected);
    }

    void saysAllElseThatTheFileSays()
    {
        const bool isAlpha = shrunkTypes().contains(RgbAlpha);
        QImage image =
            Pictures::noise(QSize(160, 120), isAlpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
        image.setColorSpace(QColorSpace::ProPhotoRgb);
        image.setText("Title", "A title");
        image.setDotsPerMeterX(1234);
        QByteArray whole = Pictures::encoded(image, "png");
        whole.insert(whole.size() - 12, chunk("tEXt", QByteArray("Author\0An author", 16)));
        const QImage made = Pictures::decoded(shrunk(whole, QSize(10, 7)));
        const QImage expected = Pictures::decoded(whole, QSize(10, 7));
        QVERIFY(isAsThePlugin(made, expected));
        QCOMPARE(made.colorSpace(), expected.colorSpace());
        QCOMPARE(made.text(), expected.text());
        QCOMPARE(made.text("Author"), "An author");
        QCOMPARE(made.dotsPerMeterX(), 1234);
    }

    void otherFilesAreLeftToThePlugin_data()
    {
        QTest::addColumn<QByteArray>("left");
        const QSize full(40, 30);
        const QByteArray head = header(full, Rgb);
        const QByteArray plain = rows(full, Rgb);
        const QByteArray stream = packed(plain);
        const auto addRow = [](const char *name, const QByteArray &left) { QTest::newRow(name) << left; };
        const auto ending = [](QByteArray bytes, char last) {
            bytes.back() = last;
            return bytes;
        };
        QByteArray unknownFilter = plain;
        unknownFilter[0] = 5;
        QByteArray smallWindow = stream;
        smallWindow.replace(0, 2, "\x08\x1d");
        QByteArray unsound = file(head, stream);
        unsound[unsound.size() - 13] = static_cast<char>(unsound[unsound.size() - 13] ^ 1);

        QVERIFY(!shrunk(file(head, stream), QSize(4, 3)).isEmpty());
        addRow("grey, which is not scaled row by row", file(header(full, Grey), packed(rows(full, Grey))));
        addRow("palette", file(header(full, Palette), packed(rows(full, Grey))));
        addRow("16 bits", file(header(full / 2, Rgb, 16), packed(rows(full, Rgb))));
        addRow("interlaced", file(header(full, Rgb, 8, true), stream));
        addRow("a colour that is transparent", file(head + chunk("tRNS", "abcdef"), stream));
        addRow("no header", file({}, stream));
        addRow("header with a wrong checksum", file(ending(head, 'x'), stream));
        addRow("pixels with a wrong checksum", unsound);
        addRow("stream with a wrong checksum", file(head, ending(stream, 'x')));
        addRow("stream with bytes behind it", file(head, stream + "x"));
        addRow("stream of a smaller window", file(head, smallWindow));
        addRow("stream in two places", signature + head + chunk("IDAT", stream.first(99))
                                           + chunk("tIME", "1234567") + chunk("IDAT", stream.mid(99))
                                           + chunk("IEND", {}));
        addRow("pixels behind an empty place for them", signature + head + chunk("IDAT", {})
                                                            + chunk("tIME", "1234567") + chunk("IDAT", stream)
                                                            + chunk("IEND", {}));
        addRow("much else", file(head + chunk("huGe", QByteArray(9'000'000, 'x')), stream));
        addRow("a row too few", file(head, packed(plain.chopped(121))));
        addRow("a row too many", file(head, packed(plain + QByteArray(121, '\0'))));
        addRow("unknown filter", file(head, packed(unknownFilter)));
        addRow("rows above the bound", file(header(QSize(999'999, 999'999), Rgb), stream));
        addRow("not PNG", Pictures::encoded(Pictures::noise(full), "bmp"));
    }
    void otherFilesAreLeftToThePlugin()
    {
        QFETCH(const QByteArray, left);
        QVERIFY(shrunk(left, QSize(4, 3)).isEmpty());
    }

    void aPartOfAFileIsLeftToThePlugin()
    {
        const QByteArray whole = file(header(QSize(9, 7), Rgb), packed(rows(QSize(9, 7), Rgb)));
        for (const QSize size : {QSize(10, 7), QSize(9, 8), QSize(0, 3), QSize()})
            QVERIFY(shrunk(whole, size).isEmpty());
        QVERIFY(!shrunk(whole, QSize(4, 3)).isEmpty());
        for (qsizetype length = 0; length < whole.size(); ++length)
            QVERIFY(shrunk(whole.first(length), QSize(4, 3)).isEmpty());
    }
};

QTEST_GUILESS_MAIN(ShrunkPngTest)
#include "ShrunkPngTest.moc"
