#include "support/PsdFiles.h"

#include <QtGui>
#include <QtTest>

#include <cmath>

using PsdFiles::Picture;

namespace {

QImage readBytes(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    const QImage image = reader.read();
    return image.size() == size ? image : QImage();
}

/// The colour of a pixel, from 0 to 255 in each channel, that `picture` is to show.
std::array<double, 3> expectedColour(const Picture &picture, int x, int y)
{
    const auto sample = [&](int channel) -> double {
        const int value = picture.sample(channel, x, y);
        if (picture.depth == 1)
            return value > 127 ? 0 : 255; // ink
        if (picture.depth != 32)
            return value;
        const double light = value / 255.0;
        return 255 * (light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055);
    };
    const double first = sample(0);
    switch (picture.mode) {
    case PsdFiles::Rgb:
        return {first, sample(1), sample(2)};
    case PsdFiles::Cmyk:
        return {first * sample(3) / 255, sample(1) * sample(3) / 255, sample(2) * sample(3) / 255};
    case PsdFiles::Indexed:
        return {first, 255 - first, std::floor(first / 2)};
    default:
        return {first, first, first};
    }
}

} // namespace

class PsdTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindIsRead()
    {
        struct Kind
        {
            int mode, channels;
            QList<int> depths;
        };
        const QList<Kind> kinds{{PsdFiles::Bitmap, 1, {1}},      {PsdFiles::Gray, 1, {8, 16, 32}},
                                {PsdFiles::Indexed, 1, {8}},     {PsdFiles::Rgb, 3, {8, 16, 32}},
                                {PsdFiles::Cmyk, 4, {8, 16}},    {PsdFiles::Duotone, 1, {8, 16}},
                                {PsdFiles::Multichannel, 2, {8}}};
        for (const Kind &kind : kinds) {
            for (const int depth : kind.depths) {
                for (int compression = PsdFiles::Raw; compression <= PsdFiles::ZipWithPrediction;
                     ++compression) {
                    for (const QSize size : {QSize(1, 1), QSize(7, 4), QSize(300, 9)}) {
                        const Picture picture{size,  kind.mode,   kind.channels,
                                              depth, compression, size.width() == 7};
                        const QImage image = readBytes(PsdFiles::make(picture));
                        QCOMPARE(image.size(), size);
                        QVERIFY(depth < 16 || image.depth() == 16 || image.depth() == 64);
                        for (int y = 0; y < size.height(); ++y) {
                            for (int x = 0; x < size.width(); ++x) {
                                const auto expected = expectedColour(picture, x, y);
                                const QColor shown = image.pixelColor(x, y);
                                const bool same = std::abs(shown.redF() * 255 - expected[0]) < 1
                                                  && std::abs(shown.greenF() * 255 - expected[1]) < 1
                                                  && std::abs(shown.blueF() * 255 - expected[2]) < 1;
                                QVERIFY2(same,
                                         qPrintable(QString("mode %1, %2 bits, compression %3, at %4 %5")
                                                        .arg(kind.mode)
                                                        .arg(depth)
                                                        .arg(compression)
                                                        .arg(x)
                                                        .arg(y)));
                            }
                        }
                    }
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
            const QImage image = readBytes(PsdFiles::make(picture));
            const QColor shown = image.pixelColor(0, 0);
            QVERIFY2(std::abs(shown.red() - expected.red()) < 6
                         && std::abs(shown.green() - expected.green()) < 6
                         && std::abs(shown.blue() - expected.blue()) < 6,
                     qPrintable(shown.name()));
            QCOMPARE(image.colorSpace(), QColorSpace(QColorSpace::SRgb));
        }
    }

    void onlyTransparencyIsTransparent()
    {
        const auto shown = [](Picture picture) {
            picture.sample = [](int channel, int, int) { return std::array{235, 155, 255, 100}[channel]; };
            return readBytes(PsdFiles::make(picture)).pixelColor(0, 0);
        };
        Picture picture{QSize(1, 1), PsdFiles::Rgb, 4};
        QCOMPARE(shown(picture), QColor(235, 155, 255, 100)); // no layers, no names: by another program
        picture.namesChannels = true;
        QCOMPARE(shown(picture), QColor(235, 155, 255)); // a saved selection
        picture.namesChannels = false;
        picture.layers = 2;
        QCOMPARE(shown(picture), QColor(235, 155, 255));
        for (const auto &[depth, tagged, large] :
             {std::tuple(8, false, false), {8, false, true}, {16, true, false}, {16, true, true}}) {
            picture.depth = depth;
            picture.large = large;
            picture.layersInTaggedBlock = tagged;
            picture.layers = -2;
            const QColor colour = shown(picture); // 235 is 204 of 255 at an alpha of 100, on white
            QVERIFY2(colour.alpha() == 100 && std::abs(colour.red() - 204) <= 1 && colour.green() <= 1
                         && colour.blue() == 255,
                     qPrintable(colour.name(QColor::HexArgb)));
        }
    }

    void profileAndResolutionAreKept()
    {
        Picture picture{QSize(3, 2), PsdFiles::Rgb, 3};
        picture.profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
        const QImage image = readBytes(PsdFiles::make(picture));
        QCOMPARE(image.colorSpace().primaries(), QColorSpace::Primaries::AdobeRgb);
        QCOMPARE(image.dotsPerMeterX(), 7874); // 200 dots an inch
        QCOMPARE(image.dotsPerMeterY(), 3937);
        picture.mode = PsdFiles::Cmyk;
        picture.channels = 4;
        QVERIFY(!readBytes(PsdFiles::make(picture)).colorSpace().isValid());
    }

    void cutShortKeepsWholeRows()
    {
        for (int compression = PsdFiles::Raw; compression <= PsdFiles::ZipWithPrediction; ++compression) {
            const Picture picture{QSize(40, 30), PsdFiles::Rgb, 3, 8, compression};
            const QByteArray whole = PsdFiles::make(picture);
            bool some = false;
            for (qsizetype length = 0; length < whole.size() - 8; length += 7) {
                const QImage image = readBytes(whole.left(length));
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
            qToBigEndian<quint32>(8000, file.data() + 14);
            qToBigEndian<quint32>(8000,
                                  file.data() + 18); // below the allocation limit, but not in these bytes
            QElapsedTimer timer;
            timer.start();
            QVERIFY(readBytes(file).isNull());
            QVERIFY(timer.elapsed() < 1000);
            qToBigEndian<quint32>(30000, file.data() + 14);
            qToBigEndian<quint32>(30000, file.data() + 18);
            QVERIFY(readBytes(file).isNull());
        }
        for (const Picture &picture :
             {Picture{QSize(4, 4), PsdFiles::Rgb, 2}, Picture{QSize(4, 4), PsdFiles::Cmyk, 3},
              Picture{QSize(0, 4)}, Picture{QSize(4, 4), 5}, Picture{QSize(4, 4), PsdFiles::Indexed, 1, 16}})
            QVERIFY(readBytes(PsdFiles::make(picture)).isNull());
    }
};

QTEST_MAIN(PsdTest)
#include "PsdTest.moc"
