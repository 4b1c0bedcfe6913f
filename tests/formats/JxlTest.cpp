#include "Samples.h"

#include "support/Pictures.h"

#include <QColorSpace>
#include <QTemporaryDir>
#include <QTest>

#include <jxl/encode.h>

#include <memory>

using namespace Samples;

namespace {

/// A picture in a container, with an orientation.
QByteArray turned(const QImage &stored, int orientation)
{
    const QImage pixels = stored.convertToFormat(QImage::Format_RGB888);
    const std::unique_ptr<JxlEncoder, decltype(&JxlEncoderDestroy)> encoder(JxlEncoderCreate(nullptr),
                                                                            JxlEncoderDestroy);
    JxlEncoderUseContainer(encoder.get(), JXL_TRUE);
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = pixels.width();
    info.ysize = pixels.height();
    info.bits_per_sample = 8;
    info.orientation = static_cast<JxlOrientation>(orientation);
    JxlEncoderSetBasicInfo(encoder.get(), &info);
    JxlColorEncoding colours;
    JxlColorEncodingSetToSRGB(&colours, JXL_FALSE);
    JxlEncoderSetColorEncoding(encoder.get(), &colours);
    const JxlPixelFormat format{3, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 4};
    JxlEncoderAddImageFrame(JxlEncoderFrameSettingsCreate(encoder.get(), nullptr), &format,
                            pixels.constBits(), pixels.sizeInBytes());
    JxlEncoderCloseInput(encoder.get());
    QByteArray bytes(100000, 0);
    auto *end = reinterpret_cast<uint8_t *>(bytes.data());
    size_t room = bytes.size();
    const bool done = JxlEncoderProcessOutput(encoder.get(), &end, &room) == JXL_ENC_SUCCESS;
    return done ? bytes.left(bytes.size() - static_cast<qsizetype>(room)) : QByteArray();
}

} // namespace

class JxlTest : public QObject
{
    Q_OBJECT

private slots:
    void keepsPixels_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addRow("photo") << gradient({96, 64}, QImage::Format_RGB888);
        QTest::addRow("alpha") << gradient({96, 64}, QImage::Format_RGBA8888);
        QTest::addRow("deep") << gradient({96, 64}, QImage::Format_RGBX64);
        QTest::addRow("deep alpha") << gradient({96, 64}, QImage::Format_RGBA64);
        QTest::addRow("grey") << gradient({96, 64}, QImage::Format_Grayscale8);
        QTest::addRow("deep grey") << gradient({96, 64}, QImage::Format_Grayscale16);
        QTest::addRow("odd sides") << gradient({7, 4}, QImage::Format_RGB888);
        QTest::addRow("odd deep") << gradient({7, 4}, QImage::Format_RGBX64);
        QTest::addRow("one pixel") << gradient({1, 1}, QImage::Format_RGB888);
    }

    void keepsPixels()
    {
        QFETCH(QImage, image);
        image.setColorSpace(QColorSpace::SRgb);
        QCOMPARE(readBack(written(image, "jxl", 100)), image);
        const QImage lossy = readBack(written(image, "jxl", 90));
        QCOMPARE(lossy.format(), image.format());
        QVERIFY(difference(lossy, image) < (image.width() < 8 ? 16 : 3)); // steep colours lose more
    }

    void keepsColourSpace()
    {
        QImage image = gradient({32, 32}, QImage::Format_RGB32);
        for (const auto space : {QColorSpace::SRgb, QColorSpace::SRgbLinear, QColorSpace::DisplayP3,
                                 QColorSpace::AdobeRgb, QColorSpace::ProPhotoRgb}) {
            image.setColorSpace(space);
            QCOMPARE(readBack(written(image, "jxl", 100)).colorSpace(), QColorSpace(space));
            // The file keeps such colours, but the decoder cannot give them in this space.
            if (space != QColorSpace::ProPhotoRgb)
                QCOMPARE(readBack(written(image, "jxl", 80)).colorSpace(), QColorSpace(space));
        }
    }

    void qualityCostsBytes()
    {
        const QImage image = gradient({256, 256}, QImage::Format_RGB32);
        qsizetype least = 0;
        for (const int quality : {0, 20, 40, 70, 90, 99}) {
            const qsizetype size = written(image, "jxl", quality).size();
            QVERIFY2(size > least, qPrintable(QString::number(quality)));
            least = size;
        }
        QCOMPARE(written(image, "jxl", -1), written(image, "jxl", 90)); // both of distance 1
    }

    void turnsOnce()
    {
        const QTemporaryDir folder;
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QString jpeg = folder.filePath("stored.jpg");
            Pictures::save(jpeg, {96, 64}, orientation);
            const QImage back = readBack(turned(QImageReader(jpeg).read(), orientation));
            QCOMPARE(back.size(), QSize(96, 64));
            QCOMPARE(Pictures::quartersOf(back), Pictures::quartersOf(Pictures::quarters({96, 64})));
        }
    }

    void survivesTruncation()
    {
        QImage image = gradient({600, 400}, QImage::Format_RGB888);
        for (qsizetype i = 0; i < image.sizeInBytes(); ++i) // noise, for a file of some length
            image.bits()[i] ^= static_cast<uchar>(i * i % 61);
        for (const int quality : {50, 100}) {
            const QByteArray whole = written(image, "jxl", quality);
            for (qsizetype length = 0; length < whole.size(); length += 1 + whole.size() / 20) {
                const QImage back = readBack(whole.left(length));
                QVERIFY(back.isNull() || back.size() == image.size());
            }
        }
        QByteArray begun = written(image, "jxl", 50);
        begun.chop(begun.size() / 5);
        QVERIFY(difference(readBack(begun), image) < 32);
    }

    void refusesHugeSizes()
    {
        const QByteArray bytes = written(gradient({1000, 600}, QImage::Format_RGB888), "jxl", 50);
        QImageReader::setAllocationLimit(1);
        const QImage refused = readBack(bytes);
        QImageReader::setAllocationLimit(3);
        const QImage accepted = readBack(bytes);
        QImageReader::setAllocationLimit(256);
        QVERIFY(refused.isNull());
        QVERIFY(!accepted.isNull());
    }
};

QTEST_GUILESS_MAIN(JxlTest)
#include "JxlTest.moc"
