#include "support/ByteFile.h"
#include "support/PsdFiles.h"

#include <QtGui>
#include <QtTest>

#include <cmath>

using PsdFiles::Picture;

namespace {

/// The colour that `picture` is to show.
QColor expectedColour(const Picture &picture, int x, int y)
{
    const auto sample = [&](int channel) {
        const double value = picture.sample(channel, x, y) / 255.0;
        if (picture.depth == 1)
            return value > 0.5 ? 0.0 : 1.0; // ink
        if (picture.depth != 32)
            return value;
        return value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
    };
    const double first = sample(0);
    std::array colour{first, first, first};
    if (picture.mode == PsdFiles::Rgb)
        colour = {first, sample(1), sample(2)};
    else if (picture.mode == PsdFiles::Cmyk)
        colour = {first * sample(3), sample(1) * sample(3), sample(2) * sample(3)};
    else if (picture.mode == PsdFiles::Indexed)
        colour = {first, 1 - first, first / 2};
    return QColor::fromRgbF(static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                            static_cast<float>(colour[2]));
}

/// Whether no channel differs by more than `tolerance` of 255.
bool isNear(const QColor &colour, const QColor &other, double tolerance)
{
    const auto near = [tolerance](float a, float b) { return std::abs(a - b) * 255 <= tolerance; };
    return near(colour.redF(), other.redF()) && near(colour.greenF(), other.greenF())
           && near(colour.blueF(), other.blueF()) && near(colour.alphaF(), other.alphaF());
}

} // namespace

class PsdTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindIsRead()
    {
        const QList<std::array<int, 3>> kinds{
            // mode, channels, depth
            {PsdFiles::Bitmap, 1, 1},      {PsdFiles::Gray, 1, 8},    {PsdFiles::Gray, 1, 16},
            {PsdFiles::Gray, 1, 32},       {PsdFiles::Indexed, 1, 8}, {PsdFiles::Rgb, 3, 8},
            {PsdFiles::Rgb, 3, 16},        {PsdFiles::Rgb, 3, 32},    {PsdFiles::Cmyk, 4, 8},
            {PsdFiles::Cmyk, 4, 16},       {PsdFiles::Duotone, 1, 8}, {PsdFiles::Duotone, 1, 16},
            {PsdFiles::Multichannel, 3, 8}};
        for (const auto &[mode, channels, depth] : kinds) {
            for (int compression = PsdFiles::Raw; compression <= PsdFiles::ZipWithPrediction; ++compression) {
                for (const QSize size : {QSize(1, 1), QSize(7, 4), QSize(300, 9)}) {
                    const Picture picture{size, mode, channels, depth, compression, size.width() == 7};
                    const QImage image = readImage(PsdFiles::make(picture));
                    const auto label =
                        QString("mode %1, %2 bits, compression %3").arg(mode).arg(depth).arg(compression);
                    QVERIFY2(image.size() == size, qPrintable(label));
                    QVERIFY(depth < 16 || image.depth() == 16 || image.depth() == 64);
                    for (int x = 0; x < size.width(); ++x)
                        for (int y = 0; y < size.height(); ++y)
                            QVERIFY2(isNear(image.pixelColor(x, y), expectedColour(picture, x, y), 1),
                                     qPrintable(label + QString(", at %1 %2").arg(x).arg(y)));
                }
            }
        }
    }

    void labBecomesSrgb()
    {
        const QList<std::pair<std::array<int, 3>, QColor>> cases{
            {{255, 128, 128}, QColor(255, 255, 255)}, {{0, 128, 128}, QColor(0, 0, 0)},
            {{138, 209, 198}, QColor(255, 0, 0)}, // lightness 54, a 81, b 70
            {{75, 196, 16}, QColor(0, 0, 255)},   // lightness 30, a 68, b -112
            {{137, 128, 128}, QColor(128, 128, 128)},
        };
        for (const auto &[lab, expected] : cases) {
            Picture picture{QSize(1, 1), PsdFiles::Lab, 3};
            picture.sample = [&lab = lab](int channel, int, int) { return lab[channel]; };
            const QImage image = readImage(PsdFiles::make(picture));
            QVERIFY2(isNear(image.pixelColor(0, 0), expected, 5), qPrintable(expected.name()));
            QCOMPARE(image.colorSpace(), QColorSpace(QColorSpace::SRgb));
        }
    }

    void onlyTransparencyIsTransparent()
    {
        const auto shown = [](Picture picture) {
            picture.sample = [](int channel, int, int) { return std::array{235, 155, 255, 100}[channel]; };
            return readImage(PsdFiles::make(picture)).pixelColor(0, 0);
        };
        Picture picture{QSize(1, 1), PsdFiles::Rgb, 4};
        QCOMPARE(shown(picture), QColor(235, 155, 255, 100)); // no layers, no names: by another program
        picture.namesChannels = true;
        QCOMPARE(shown(picture), QColor(235, 155, 255)); // a saved selection
        picture.namesChannels = false;
        picture.layers = 2;
        QCOMPARE(shown(picture), QColor(235, 155, 255));
        picture.layers = -2;
        for (const auto &[depth, tagged, large] :
             {std::tuple(8, false, false), {8, false, true}, {16, true, false}, {16, true, true}}) {
            picture.depth = depth;
            picture.large = large;
            picture.layersInTaggedBlock = tagged;
            // 235 is 204 of 255 at an alpha of 100, on white
            QVERIFY2(isNear(shown(picture), QColor(204, 0, 255, 100), 1.01),
                     qPrintable(shown(picture).name(QColor::HexArgb)));
        }
        picture.depth = 32; // 204 of linear light
        QVERIFY(isNear(shown(picture), QColor(231, 0, 255, 100), 1.01));
    }

    void profileAndResolutionAreKept()
    {
        Picture picture{QSize(3, 2), PsdFiles::Rgb, 3};
        picture.profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
        const QImage image = readImage(PsdFiles::make(picture));
        QCOMPARE(image.colorSpace().primaries(), QColorSpace::Primaries::AdobeRgb);
        QCOMPARE(image.dotsPerMeterX(), 7874); // 200 dots an inch
        QCOMPARE(image.dotsPerMeterY(), 3937);
        picture.mode = PsdFiles::Cmyk;
        picture.channels = 4;
        QVERIFY(!readImage(PsdFiles::make(picture)).colorSpace().isValid());
    }

    void cutShortKeepsWholeRows()
    {
        for (int compression = PsdFiles::Raw; compression <= PsdFiles::ZipWithPrediction; ++compression) {
            const Picture picture{QSize(40, 30), PsdFiles::Rgb, 3, 8, compression};
            const QByteArray whole = PsdFiles::make(picture);
            bool some = false;
            for (qsizetype length = 0; length < whole.size() - 8; length += 7) {
                const QImage image = readImage(whole.left(length));
                if (image.isNull())
                    continue;
                some = true;
                QCOMPARE(image.pixelColor(0, 0), QColor(0, 83, 166));
                QCOMPARE(image.pixelColor(39, 29), QColor(Qt::white));
            }
            QVERIFY(some || compression >= PsdFiles::Zip); // whose last rows stand in the last bytes
        }
    }

    void damageIsRefused()
    {
        for (int compression = PsdFiles::Raw; compression <= 4; ++compression) {
            QByteArray file = PsdFiles::make({QSize(2, 2), PsdFiles::Rgb, 3, 8, compression});
            QByteArray narrow = PsdFiles::make({QSize(2, 2), PsdFiles::Gray, 1, 8, compression});
            qToBigEndian<quint32>(30000, narrow.data() + 14); // the height
            QVERIFY(readImage(narrow).isNull());
            for (const quint32 side : {8000, 30000}) { // below and above the allocation limit
                qToBigEndian(side, file.data() + 14);
                qToBigEndian(side, file.data() + 18);
                QElapsedTimer timer;
                timer.start();
                QVERIFY(readImage(file).isNull());
                QVERIFY(timer.elapsed() < 1000);
            }
        }
        for (const Picture &picture :
             {Picture{QSize(4, 4), PsdFiles::Rgb, 2}, Picture{QSize(4, 4), PsdFiles::Cmyk, 3},
              Picture{QSize(0, 4)}, Picture{QSize(4, 4), 5}, Picture{QSize(4, 4), PsdFiles::Indexed, 1, 16}})
            QVERIFY(readImage(PsdFiles::make(picture)).isNull());
    }
};

QTEST_MAIN(PsdTest)
#include "PsdTest.moc"
