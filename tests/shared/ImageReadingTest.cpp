#include "shared/ImageReading.h"
#include "shared/ExifOrientation.h"
#include "shared/VistamoGlobal.h"
#include "support/Pictures.h"

#include <QColorSpace>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class ImageReadingTest : public QObject
{
    Q_OBJECT

private slots:
    void everyOrientationIsShownUpright_data();
    void everyOrientationIsShownUpright();
    void thumbnailSize_data();
    void thumbnailSize();
    void whatIsNoPictureReadsAsNull_data();
    void whatIsNoPictureReadsAsNull();
    void contentDecidesTheFormat();
    void pipeIsNotOpened();
    void profileIsConvertedToSrgb();
    void exifValues();
    void imageFilesByName_data();
    void imageFilesByName();

private:
    QTemporaryDir folder;
};

void ImageReadingTest::everyOrientationIsShownUpright_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("orientation");
    for (const char *const suffix : {"jpg", "tif", "png", "webp"}) {
        for (int orientation = 1; orientation <= 8; ++orientation)
            QTest::addRow("%s %d", suffix, orientation) << suffix << orientation;
    }
}

void ImageReadingTest::everyOrientationIsShownUpright()
{
    QFETCH(QString, suffix);
    QFETCH(int, orientation);
    const QString path = folder.filePath(QStringLiteral("%1.%2").arg(orientation).arg(suffix));
    Pictures::save(path, QSize(600, 400), orientation);

    const QImage image = ImageReading::read(path);
    QCOMPARE(image.size(), QSize(600, 400));
    QCOMPARE(Pictures::quartersOf(image), "red green blue yellow");

    const ImageReading::Thumbnail thumbnail = ImageReading::readThumbnail(path, 256);
    QCOMPARE(thumbnail.fullSize, QSize(600, 400));
    QCOMPARE(thumbnail.image.size(), QSize(256, 171));
    QCOMPARE(Pictures::quartersOf(thumbnail.image), "red green blue yellow");
}

void ImageReadingTest::thumbnailSize_data()
{
    QTest::addColumn<QSize>("full");
    QTest::addColumn<QSize>("thumbnail");
    QTest::addRow("wide") << QSize(4000, 3000) << QSize(256, 192);
    QTest::addRow("high") << QSize(3000, 4000) << QSize(192, 256);
    QTest::addRow("square") << QSize(77, 77) << QSize(256, 256);
    QTest::addRow("enlarged") << QSize(100, 50) << QSize(256, 128);
    QTest::addRow("one pixel") << QSize(1, 1) << QSize(256, 256);
    QTest::addRow("thinner than a pixel") << QSize(5000, 2) << QSize(256, 1);
    QTest::addRow("no picture") << QSize() << QSize();
}

void ImageReadingTest::thumbnailSize()
{
    QFETCH(QSize, full);
    QFETCH(QSize, thumbnail);
    QCOMPARE(ImageReading::thumbnailSize(full, 256), thumbnail);
    if (full.isEmpty())
        return;
    for (const char *const suffix : {"jpg", "png", "bmp"}) {
        const QString path = folder.filePath(QStringLiteral("size.") + QLatin1String(suffix));
        Pictures::save(path, full);
        const ImageReading::Thumbnail made = ImageReading::readThumbnail(path, 256);
        QCOMPARE(made.image.size(), thumbnail);
        QCOMPARE(made.fullSize, full);
    }
}

void ImageReadingTest::whatIsNoPictureReadsAsNull_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addRow("empty") << QByteArray();
    QTest::addRow("text") << QByteArray("GIF? no, a text");
    QTest::addRow("header alone") << QByteArray("\x89PNG\r\n\x1a\n", 8);
    QTest::addRow("random") << QByteArray(5000, '\xa5');
}

void ImageReadingTest::whatIsNoPictureReadsAsNull()
{
    QFETCH(QByteArray, content);
    const QString path = folder.filePath(QStringLiteral("broken.jpg"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    QVERIFY(ImageReading::read(path).isNull());
    const ImageReading::Thumbnail thumbnail = ImageReading::readThumbnail(path, 256);
    QVERIFY(thumbnail.image.isNull());
    QVERIFY(thumbnail.fullSize.isEmpty());
    QVERIFY(file.remove());
    QVERIFY(ImageReading::read(path).isNull());
}

void ImageReadingTest::contentDecidesTheFormat()
{
    const QString path = folder.filePath(QStringLiteral("bitmap.bmp"));
    Pictures::save(path);
    const QString renamed = folder.filePath(QStringLiteral("really a bitmap.jpg"));
    QVERIFY(QFile::copy(path, renamed));
    QCOMPARE(ImageReading::read(renamed).size(), QSize(60, 40));
}

void ImageReadingTest::pipeIsNotOpened()
{
    const QString path = folder.filePath(QStringLiteral("pipe.jpg"));
    QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    QVERIFY(ImageReading::read(path).isNull());
    QVERIFY(ImageReading::readThumbnail(path, 256).image.isNull());
}

void ImageReadingTest::profileIsConvertedToSrgb()
{
    QImage image(300, 300, QImage::Format_RGB32);
    image.fill(QColor(200, 100, 50));
    image.setColorSpace(QColorSpace::AdobeRgb);
    const QColor expected = image.convertedToColorSpace(QColorSpace::SRgb).pixelColor(5, 5);
    QVERIFY(expected != image.pixelColor(5, 5));

    const QString path = folder.filePath(QStringLiteral("adobe.png"));
    QVERIFY(image.save(path));
    QCOMPARE(ImageReading::read(path).pixelColor(5, 5), expected);
    QCOMPARE(ImageReading::readThumbnail(path, 256).image.pixelColor(5, 5), expected);
}

void ImageReadingTest::exifValues()
{
    QCOMPARE(transformationOfExifValue(0), QImageIOHandler::TransformationNone);
    QCOMPARE(transformationOfExifValue(9), QImageIOHandler::TransformationNone);
    QCOMPARE(exifOrientation(folder.filePath("no such file.png")), QImageIOHandler::TransformationNone);
}

void ImageReadingTest::imageFilesByName_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("isImage");
    QTest::addRow("upper case") << "HOLIDAY.JPG" << true;
    QTest::addRow("last of several suffixes counts") << "archive.png.zip" << false;
    QTest::addRow("several suffixes") << "a.b.c.webp" << true;
    QTest::addRow("no suffix") << "jpg" << false;
    QTest::addRow("nothing but a suffix") << ".jpg" << true;
    QTest::addRow("dot at the end") << "picture." << false;
    QTest::addRow("no reader at hand") << "layers.pspimage" << true;
    QTest::addRow("in a folder with a dot") << "/a.jpg/readme" << false;
}

void ImageReadingTest::imageFilesByName()
{
    QFETCH(QString, fileName);
    QFETCH(bool, isImage);
    VistamoGlobal::imageFileExtensionList.clear();
    QVERIFY(!VistamoGlobal().isImageFile(fileName));
    VistamoGlobal::buildImageFileExtensionList();
    QCOMPARE(VistamoGlobal::imageFileExtensionList.size(), 18);
    QCOMPARE(VistamoGlobal().isImageFile(fileName), isImage);
}

QTEST_GUILESS_MAIN(ImageReadingTest)
#include "ImageReadingTest.moc"
