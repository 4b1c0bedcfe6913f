#include "batch/ImagesToPDFConvertThread.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtTest>

/// Every target of a conversion, read back by the codec's own tool.
class OtherProgramsTest : public FolderTest
{
    Q_OBJECT

private slots:
    void othersReadWhatIsWritten()
    {
        newFolder();
        QImage photo(301, 203, QImage::Format_RGB32);
        QImage gradient(128, 64, QImage::Format_ARGB32);
        for (int y = 0; y < photo.height(); ++y)
            for (int x = 0; x < photo.width(); ++x)
                photo.setPixel(x, y, qRgb(128 + int(100 * std::sin(x / 30.0)), y, (x + y) / 2));
        for (int y = 0; y < gradient.height(); ++y)
            for (int x = 0; x < gradient.width(); ++x)
                gradient.setPixel(x, y, qRgba(200, 40 + y, 90, 2 * x));
        // The tolerance is that of a channel's mean difference; 0 for the same pixels.
        const std::tuple<QString, QStringList, int> rows[] = {
            {"avif", {"heif-convert"}, 6}, {"gif", {"convert"}, 20}, {"heic", {"heif-convert"}, 6},
            {"heif", {"heif-convert"}, 6}, {"jpg", {"convert"}, 4},  {"jxl", {"djxl"}, 6},
            {"png", {"convert"}, 0},       {"tiff", {"convert"}, 0}, {"webp", {"dwebp", "-o"}, 6}};
        for (const auto &[format, tool, tolerance] : rows) {
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

                QFile::remove(path("out.png"));
                const QStringList names = {path("source." + format), path("out.png")};
                QCOMPARE(QProcess::execute(tool.first(), names.first(1) + tool.mid(1) + names.mid(1)), 0);
                const QImage read(path("out.png"));
                // Where the format drops transparency, only what was opaque keeps its colour.
                if ((format == "jpg" || format == "gif") && picture.hasAlphaChannel())
                    QCOMPARE(read.size(), picture.size());
                else
                    QVERIFY2(Pictures::difference(read, picture) <= tolerance, qPrintable(format));
            }
        }
    }
};

QTEST_MAIN(OtherProgramsTest)
#include "OtherProgramsTest.moc"
