#include "support/LayeredFiles.h"

#include <QtGui>
#include <QtTest>

#include <cmath>

using namespace LayeredFiles;

namespace {

/// What the image plug-ins make of the bytes; null if it is not of the size that they told before.
QImage readImage(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    const QImage image = reader.read();
    return image.size() == size ? image : QImage();
}

/// The colour that `picture` is to show.
QColor expectedColour(const Picture &picture, int x, int y)
{
    const auto stored = [&](int channel) { return picture.sample(channel, x, y) / 255.0f; };
    const auto sample = [&](int channel) {
        const float value = stored(channel);
        if (picture.depth == 1)
            return value > 0.5f ? 0.0f : 1.0f; // ink
        if (picture.depth != 32)
            return value;
        return value <= 0.0031308f ? 12.92f * value : 1.055f * std::pow(value, 1 / 2.4f) - 0.055f;
    };
    if (picture.mode == Indexed)
        return QColor(paletteColour(picture.sample(0, x, y) >> (8 - picture.depth)));
    const int colours = picture.mode == Cmyk ? 4 : picture.mode == Rgb ? 3 : 1;
    const float alpha = picture.channels == colours + 1 ? stored(colours) : 1;
    const float paper = colours == 4 ? sample(3) : 1;
    return QColor::fromRgbF(sample(0) * paper, sample(colours > 1 ? 1 : 0) * paper,
                            sample(colours > 1 ? 2 : 0) * paper, alpha);
}

/// Whether no channel differs by more than `tolerance` of 255.
bool isNear(const QColor &colour, const QColor &other, double tolerance)
{
    const auto near = [tolerance](float a, float b) { return std::abs(a - b) * 255 <= tolerance; };
    return near(colour.redF(), other.redF()) && near(colour.greenF(), other.greenF())
           && near(colour.blueF(), other.blueF()) && near(colour.alphaF(), other.alphaF());
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
        struct Kind
        {
            Format format;
            int mode, channels;
            QList<int> depths;
        };
        const QList<Kind> kinds{
            {Psd, Bitmap, 1, {1}},           {Psd, Gray, 1, {8, 16, 32}}, {Psd, Gray, 2, {8, 16, 32}},
            {Psd, Indexed, 1, {8}},          {Psd, Rgb, 3, {8, 16, 32}},  {Psd, Rgb, 4, {8, 16, 32}},
            {Psd, Cmyk, 4, {8, 16}},         {Psd, Cmyk, 5, {8, 16}},     {Psd, Duotone, 2, {8, 16}},
            {Psd, Multichannel, 3, {8, 16}}, {Psp, Gray, 2, {8}},         {Psp, Indexed, 1, {1, 4, 8}},
            {Psp, Rgb, 3, {8, 16}},          {Psp, Rgb, 4, {8, 16}},
        };
        for (const auto &[format, mode, channels, depths] : kinds) {
            for (const int depth : depths) {
                for (int compression = Raw; compression <= (format == Psp ? Zip : ZipWithPrediction);
                     ++compression) {
                    for (const QSize size : {QSize(1, 1), QSize(7, 4), QSize(301, 9)}) {
                        Picture picture{format, size, mode, channels, depth, compression};
                        if (format == Psd && size.width() == 7)
                            picture.format = Psb;
                        QVERIFY2(shows(readImage(make(picture)), picture),
                                 qPrintable(QString::asprintf(
                                     "format %d, mode %d, %d channels, %d bits, compression %d",
                                     picture.format, mode, channels, depth, compression)));
                    }
                }
            }
        }
    }

    void labBecomesSrgb()
    {
        const QList<std::pair<std::array<int, 3>, QColor>> cases{
            {{255, 128, 128}, QColor(255, 255, 255)},
            {{0, 128, 128}, QColor(0, 0, 0)},
            {{138, 209, 198}, QColor(255, 0, 0)}, // lightness 54, a 81, b 70
            {{75, 196, 16}, QColor(0, 0, 255)},   // lightness 30, a 68, b -112
        };
        for (const auto &[lab, expected] : cases) {
            Picture picture{Psd, QSize(1, 1), Lab};
            picture.sample = [&lab = lab](int channel, int, int) { return lab[channel]; };
            const QImage image = readImage(make(picture));
            QVERIFY2(isNear(image.pixelColor(0, 0), expected, 5), qPrintable(expected.name()));
        }
    }

    void onlyTransparencyIsTransparent()
    {
        const auto shown = [](Picture picture) {
            picture.sample = [](int channel, int, int) { return std::array{235, 155, 255, 100}[channel]; };
            return readImage(make(picture)).pixelColor(0, 0);
        };
        Picture picture{Psd, QSize(1, 1), Rgb, 4};
        QCOMPARE(shown(picture), QColor(235, 155, 255, 100)); // no layers, no names: by another program
        picture.channelNames = "\7Alpha 1";
        QCOMPARE(shown(picture), QColor(235, 155, 255)); // a saved selection
        picture.channelNames.clear();
        picture.layers = 2;
        QCOMPARE(shown(picture), QColor(235, 155, 255));
        picture.layers = -2;
        for (const Format format : {Psd, Psb}) {
            picture.format = format;
            for (const int depth : {8, 16, 32}) {
                picture.depth = depth;
                // 235 is 204 of 255 at an alpha of 100, on white; 204 of linear light is 231
                QVERIFY(isNear(shown(picture), QColor(depth == 32 ? 231 : 204, 0, 255, 100), 1.01));
            }
        }
    }

    void profileIsKept()
    {
        Picture picture{Psd, QSize(3, 2)};
        picture.profile = QColorSpace(QColorSpace::AdobeRgb).iccProfile();
        QCOMPARE(readImage(make(picture)).colorSpace().primaries(), QColorSpace::Primaries::AdobeRgb);
    }

    void previewServesWhereThePictureIsMissing()
    {
        Picture picture{Psp, QSize(90, 60), Rgb, 4, 8, Zip};
        picture.preview = QImage(45, 30, QImage::Format_RGB32);
        picture.preview.fill(qRgb(0, 128, 0));
        const QByteArray whole = make(picture);
        QVERIFY(shows(readImage(whole), picture));
        picture.hasComposite = false;
        const QByteArray alone = make(picture);
        for (const QByteArray &bytes : {alone, whole.left(alone.size() + 100)}) {
            const QImage image = readImage(bytes);
            QCOMPARE(image.size(), picture.size);
            QVERIFY(qAbs(qGreen(image.pixel(89, 59)) - 128) < 3);
        }
        picture.preview = QImage(1, 1, QImage::Format_RGB32); // not of this picture
        QVERIFY(readImage(make(picture)).isNull());
    }

    void cutShortKeepsWhatIsWhole()
    {
        for (const Format format : {Psd, Psp}) {
            for (int compression = Raw; compression <= Zip; ++compression) {
                const Picture picture{format, QSize(40, 30), Rgb, 4, 8, compression};
                const QByteArray whole = make(picture);
                bool some = false;
                for (qsizetype length = 0; length < whole.size() - 8; length += 7) {
                    const QImage image = readImage(whole.left(length));
                    if (image.isNull())
                        continue;
                    some = true;
                    QCOMPARE(image.pixelColor(0, 0).rgb(), expectedColour(picture, 0, 0).rgb());
                    QCOMPARE(image.pixelColor(39, 29).alpha(), format == Psp ? 255 : 0); // rows, or channels
                }
                QVERIFY(some || compression == Zip); // whose last rows stand in the last bytes
            }
        }
    }

    void damageIsRefused()
    {
        for (const Format format : {Psd, Psp}) {
            for (int compression = Raw; compression <= ZipWithPrediction + 1; ++compression) {
                // below and above the allocation limit
                for (const QSize claimed : {QSize(2, 30000), QSize(8000, 8000), QSize(30000, 30000)}) {
                    QElapsedTimer timer;
                    timer.start();
                    QVERIFY(readImage(make({format, QSize(2, 2), Rgb, 3, 8, compression, claimed})).isNull());
                    QVERIFY(timer.elapsed() < 1000);
                }
            }
        }
        const QSize size(4, 4);
        for (const Picture &picture :
             {Picture{Psd, size, Rgb, 2}, Picture{Psd, size, Cmyk, 3}, Picture{Psd, QSize(0, 4)},
              Picture{Psd, size, 5}, Picture{Psd, size, Indexed, 1, 16}, Picture{Psp, size, Rgb, 2}})
            QVERIFY(readImage(make(picture)).isNull());
    }
};

QTEST_MAIN(LayeredFilesTest)
#include "LayeredFilesTest.moc"
