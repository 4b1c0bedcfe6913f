#include "support/LayeredFiles.h"
#include "support/Memory.h"
#include "support/Pictures.h"

#include <QtTest>

#include <cmath>

using namespace LayeredFiles;
using Pictures::isNear;

namespace {

/// The colour that `picture` is to show.
QColor expectedColour(const Picture &picture, int x, int y)
{
    if (picture.mode == Bitmap)
        return picture.sample(0, x, y) > 127 ? Qt::black : Qt::white;
    if (picture.mode == Indexed)
        return paletteColour(picture.sample(0, x, y) >> (8 - picture.depth));
    const auto stored = [&](int channel) { return picture.sample(channel, x, y) / 255.0f; };
    const auto shown = [&](int channel) { // floats are linear light
        const float value = stored(channel);
        return picture.depth < 32 ? value : std::max(0.0f, 1.055f * std::pow(value, 1 / 2.4f) - 0.055f);
    };
    const int colours = picture.mode == Cmyk ? 4 : picture.mode == Rgb ? 3 : 1;
    const float alpha = picture.channels == colours + 1 ? stored(colours) : 1;
    const float paper = colours == 4 ? shown(3) : 1;
    return QColor::fromRgbF(shown(0) * paper, shown(colours > 1 ? 1 : 0) * paper,
                            shown(colours > 1 ? 2 : 0) * paper, alpha);
}

bool shows(const QImage &image, const Picture &picture)
{
    bool same =
        image.size() == picture.size && (image.depth() == 16 || image.depth() == 64) == (picture.depth > 8);
    for (int x = 0; same && x < image.width(); ++x)
        for (int y = 0; same && y < image.height(); ++y)
            same = isNear(image.pixelColor(x, y), expectedColour(picture, x, y), 1);
    return same;
}

} // namespace

class LayeredFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void everyKindIsRead()
    {
        using Kind = std::tuple<Format, Mode, QList<int>, QList<int>>; // with channels and depths
        const QList<Kind> kinds{
            {Psd, Bitmap, {1}, {1}},           {Psd, Gray, {1, 2}, {8, 16, 32}},
            {Psd, Indexed, {1}, {8}},          {Psd, Rgb, {3, 4}, {8, 16, 32}},
            {Psd, Cmyk, {4, 5}, {8, 16}},      {Psd, Duotone, {2}, {8, 16}},
            {Psd, Multichannel, {3}, {8, 16}}, {Psp, Gray, {2}, {8}},
            {Psp, Indexed, {1}, {1, 4, 8}},    {Psp, Rgb, {3, 4}, {8, 16}},
        };
        QList<Picture> pictures;
        for (const auto &[format, mode, channels, depths] : kinds)
            for (const int channelCount : channels)
                for (const int depth : depths)
                    for (int compression = Raw; compression <= (format == Psp ? Zip : ZipWithPrediction);
                         ++compression)
                        for (const QSize size : {QSize(1, 1), QSize(7, 4), QSize(301, 9)})
                            pictures.append({format == Psd && size.width() == 7 ? Psb : format, size, mode,
                                             channelCount, depth, compression});
        for (const Picture &picture : pictures)
            QVERIFY2(
                shows(Pictures::decoded(make(picture)), picture),
                qPrintable(QString::asprintf("mode %d, %d channels of %d bits, compression %d", picture.mode,
                                             picture.channels, picture.depth, picture.compression)));
    }

    void colourSpacesAreUnderstood()
    {
        Picture picture{Psd, QSize(1, 1)};
        picture.profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
        QCOMPARE(Pictures::decoded(make(picture)).colorSpace().primaries(), QColorSpace::Primaries::AdobeRgb);
        picture.mode = Lab;
        const auto shown = [&](const std::array<int, 3> &lab) {
            picture.sample = [=](int channel, int, int) { return lab[channel]; };
            return Pictures::decoded(make(picture)).pixelColor(0, 0);
        };
        QVERIFY(isNear(shown({138, 209, 198}), Qt::red, 5)); // lightness 54, a 81, b 70
        QVERIFY(isNear(shown({75, 196, 16}), Qt::blue, 5));  // lightness 30, a 68, b -112
    }

    void onlyTransparencyIsTransparent()
    {
        const auto shown = [](int layers, const QByteArray &names = {}, Format format = Psd, int depth = 8) {
            Picture picture{format, QSize(1, 1), Rgb, 4, depth};
            picture.layers = layers;
            picture.channelNames = names;
            picture.sample = [](int channel, int, int) { return std::array{235, 155, 255, 100}[channel]; };
            return Pictures::decoded(make(picture)).pixelColor(0, 0);
        };
        QCOMPARE(shown(0), QColor(235, 155, 255, 100));         // by another program
        QCOMPARE(shown(0, "\7Alpha 1"), QColor(235, 155, 255)); // a saved selection
        QCOMPARE(shown(2), QColor(235, 155, 255));
        // 235 is 204 of 255 at an alpha of 100, on white; 204 of linear light is 231
        for (const Format format : {Psd, Psb})
            for (const int depth : {8, 16, 32})
                QVERIFY(
                    isNear(shown(-2, {}, format, depth), QColor(depth == 32 ? 231 : 204, 0, 255, 100), 1));
    }

    void previewServesWhereThePictureIsMissing()
    {
        Picture picture{Psp, QSize(90, 60), Rgb, 4};
        picture.preview = QImage(45, 30, QImage::Format_RGB32);
        picture.preview.fill(qRgb(0, 128, 0));
        const QByteArray whole = make(picture);
        QVERIFY(shows(Pictures::decoded(whole), picture));
        const qsizetype composite = whole.indexOf(QByteArray("~BK\0\t", 5));
        for (const qsizetype length : {composite, composite + 100}) {
            const QImage image = Pictures::decoded(whole.left(length));
            QCOMPARE(image.size(), picture.size);
            QVERIFY(qAbs(qGreen(image.pixel(89, 59)) - 128) < 3);
        }
        picture.preview = QImage(1, 1, QImage::Format_RGB32); // not of this picture
        QVERIFY(Pictures::decoded(make(picture).left(composite)).isNull());
    }

    void bankOutOfProportionTakesNoMemory()
    {
        const Picture picture{Psp, QSize(3, 2), Rgb, 4};
        QByteArray start = make(picture);
        qToLittleEndian(0xf0000000U, start.data() + start.indexOf(QByteArray("~BK\0\x10\0", 6)) + 6);
        QTemporaryFile file;
        QVERIFY(file.open() && file.write(start) == start.size() && file.resize(qint64(1) << 32));
        const qint64 before = peakKilobytes();
        file.seek(0);
        QVERIFY(shows(QImageReader(&file).read(), picture));
        QVERIFY(peakKilobytes() - before < 1024 * 1024); // the sanitizer keeps for a while what is freed
    }

    void cutShortKeepsWhatIsWhole()
    {
        for (const Format format : {Psd, Psp}) {
            for (int compression = Raw; compression <= Zip; ++compression) {
                const Picture picture{format, QSize(40, 30), Rgb, 4, 8, compression};
                const QByteArray whole = make(picture);
                bool some = false;
                for (qsizetype length = 0; length < whole.size() - 8; length += 7) {
                    const QImage image = Pictures::decoded(whole.left(length));
                    some = some || !image.isNull();
                    const int lastAlpha = format == Psp ? 255 : 0; // whole channels, or whole rows
                    QVERIFY(image.isNull()
                            || (image.pixelColor(0, 0).rgb() == expectedColour(picture, 0, 0).rgb()
                                && image.pixelColor(39, 29).alpha() == lastAlpha));
                }
                QVERIFY(some || compression == Zip); // whose last rows stand in the last bytes
            }
        }
    }

    void damageIsRefused()
    {
        QElapsedTimer timer;
        timer.start();
        for (const Format format : {Psd, Psp})
            for (int compression = Raw; compression <= ZipWithPrediction + 1; ++compression)
                // below and above the allocation limit
                for (const QSize claimed : {QSize(2, 30000), QSize(8000, 8000), QSize(30000, 30000)})
                    QVERIFY(Pictures::decoded(make({format, QSize(2, 2), Gray, 1, 8, compression, claimed}))
                                .isNull());
        QVERIFY(timer.elapsed() < 5000);
        const QSize size(4, 4);
        for (const Picture &picture :
             {Picture{Psd, size, Rgb, 2}, Picture{Psd, size, Cmyk, 3}, Picture{Psd, QSize(0, 4)},
              Picture{Psd, size, 5}, Picture{Psd, size, Indexed, 1, 16}, Picture{Psp, size, Rgb, 2}})
            QVERIFY(Pictures::decoded(make(picture)).isNull());
    }
};

QTEST_MAIN(LayeredFilesTest)
#include "LayeredFilesTest.moc"
