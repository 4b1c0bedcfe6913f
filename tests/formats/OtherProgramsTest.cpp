#include "batch/ImagesToPDFConvertThread.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"

#include <QtTest>

/// Every target of a conversion, read back by the codec's own tool.
class OtherProgramsTest : public FolderTest
{
    Q_OBJECT

private slots:
    void othersReadWhatIsWritten_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QStringList>("tool"); // from "in" to "out.png"
        QTest::addColumn<int>("tolerance");    // of a channel's mean difference; 0 for the same pixels
        const QStringList magick = {"convert", "in", "out.png"};
        const QStringList heif = {"heif-convert", "in", "out.png"};
        QTest::addRow("AVIF") << "avif" << heif << 6;
        QTest::addRow("GIF") << "gif" << magick << 20;
        QTest::addRow("HEIC") << "heic" << heif << 6;
        QTest::addRow("HEIF") << "heif" << heif << 6;
        QTest::addRow("JPG") << "jpg" << magick << 4;
        QTest::addRow("JPEG XL") << "jxl" << QStringList{"djxl", "in", "out.png"} << 6;
        QTest::addRow("PNG") << "png" << magick << 0;
        QTest::addRow("TIFF") << "tiff" << magick << 0;
        QTest::addRow("WEBP") << "webp" << QStringList{"dwebp", "in", "-o", "out.png"} << 6;
    }
    void othersReadWhatIsWritten()
    {
        QFETCH(QString, format);
        QFETCH(QStringList, tool);
        QFETCH(int, tolerance);
        newFolder();
        QImage photo(301, 203, QImage::Format_RGB32);
        QImage gradient(128, 64, QImage::Format_ARGB32);
        for (int y = 0; y < photo.height(); ++y)
            for (int x = 0; x < photo.width(); ++x)
                photo.setPixel(x, y, qRgb(128 + int(100 * std::sin(x / 30.0)), y, (x + y) / 2));
        for (int y = 0; y < gradient.height(); ++y)
            for (int x = 0; x < gradient.width(); ++x)
                gradient.setPixel(x, y, qRgba(200, 40 + y, 90, 2 * x));
        for (const QImage &picture : {photo, gradient, photo.copy(7, 7, 1, 1)}) {
            QVERIFY(picture.save(path("source.png")));
            ImagesToPDFConvertThread thread;
            thread.sourceFiles = {path("source.png")};
            thread.targetPath = path("");
            thread.targetExtension = "." + format;
            thread.overwrite = true;
            thread.isConvertMode = 1;
            thread.start();
            QVERIFY(thread.wait());

            QStringList arguments = tool.mid(1);
            arguments.replaceInStrings(QRegularExpression("^in$"), path("source." + format));
            arguments.replaceInStrings(QRegularExpression("^out.png$"), path("out.png"));
            QProcess process;
            process.start(tool.first(), arguments);
            QVERIFY(process.waitForFinished(60000));
            QVERIFY2(process.exitCode() == 0, process.readAllStandardError());
            compare(QImage(path("out.png")), picture, format != "jpg" && format != "gif", tolerance);
            if (format == "tiff")
                compareTiff(picture.size());
            QVERIFY(QFile::remove(path("out.png")));
        }
    }

private:
    void compare(const QImage &read, const QImage &written, bool hasAlpha, int tolerance)
    {
        QCOMPARE(read.size(), written.size());
        // Where the format drops transparency, only what was opaque keeps its colour.
        if (!hasAlpha && written.hasAlphaChannel())
            return;
        qint64 difference = 0;
        for (int y = 0; y < read.height(); ++y) {
            for (int x = 0; x < read.width(); ++x) {
                const QColor a = read.pixelColor(x, y);
                const QColor b = written.pixelColor(x, y);
                difference += qAbs(a.alpha() - b.alpha());
                if (b.alpha() > 30)
                    difference +=
                        qAbs(a.red() - b.red()) + qAbs(a.green() - b.green()) + qAbs(a.blue() - b.blue());
            }
        }
        const double mean = difference / (4.0 * read.width() * read.height());
        QVERIFY2(mean <= tolerance, qPrintable(QString::number(mean)));
    }

    void compareTiff(QSize size)
    {
        QProcess process;
        process.start("tiffinfo", {path("source.tiff")});
        QVERIFY(process.waitForFinished());
        const QString wanted =
            QStringLiteral("Image Width: %1 Image Length: %2").arg(size.width()).arg(size.height());
        QVERIFY(QString::fromLatin1(process.readAllStandardOutput()).contains(wanted));
    }
};

QTEST_MAIN(OtherProgramsTest)
#include "OtherProgramsTest.moc"
