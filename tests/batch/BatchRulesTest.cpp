#include "batch/BatchListModel.h"
#include "batch/BatchOptions.h"
#include "batch/FolderWalk.h"
#include "batch/PdfPageLayout.h"
#include "formats/gif/GifEncoder.h"
#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"

#include <QImage>

/// The plain rules of the batch tools.
class BatchRulesTest : public FolderTest
{
    Q_OBJECT

private slots:
    void targetNames()
    {
        QCOMPARE(convertTarget("/in/holiday.2021.jpg", "/out", ".png"), "/out/holiday.png");
        QCOMPARE(convertTarget("/in.d/x.tif", "/out", ".tiff"), "/out/x.tiff");
        QCOMPARE(convertTarget("/in.d/name", "/out", ".gif"), "/out/name.gif");
        QCOMPARE(convertTarget("/in/.jpg", "", ".png"), "/.png");
    }

    void placeOnThePage()
    {
        const QSize letter96(816, 1056);
        const std::tuple<QSize, QSize, QSize, QSize> rows[] = {
            {{1000, 500}, letter96, {816, 408}, {816, 408}},
            {{1000, 500}, {2550, 3300}, {1000, 500}, {2550, 1275}},
            {{300, 2112}, letter96, {150, 1056}, {150, 1056}},
            {{20000, 1}, letter96, {816, 1}, {816, 1}},
            {{10, 10}, {0, 0}, {}, {}},
            {{10, 10}, {-9, -5}, {10, 10}, {}}, // margins beyond the sheet
        };
        for (const auto &[picture, available, drawn, enlarged] : rows) {
            QCOMPARE(pdfPictureSize(picture, available, false), drawn);
            QCOMPARE(pdfPictureSize(picture, available, true), enlarged);
        }
    }

    void optionsOfAFreshInstallationAndOfALaterOne()
    {
        newFolder();
        setSettingsFolder(folder->path());
        VistamoGlobal::outputFolder = "earlier";
        const QByteArray fresh =
            "[%General]\noutputFolder=\npageMargin=1\npageMarginSize=20\npageOrientation=1\npageSize=0\n"
            "pdfFileName=\npdfQuality=2\npdfSmoothEdges=true\nresizeImageToPaper=false\n"
            "targeFileQuality=95\ntargeFileType=6\n";
        const QByteArray later =
            "[%General]\noutputFolder=/out\npageMargin=0\npageMarginSize=7\npageOrientation=0\npageSize=3\n"
            "pdfFileName=all.pdf\npdfQuality=5\npdfSmoothEdges=false\nresizeImageToPaper=true\n"
            "targeFileQuality=0\ntargeFileType=4\n";
        for (const auto &[before, after] : {std::pair(QByteArray(), fresh), {later, later}}) {
            write("ImageToPDF.ini", before);
            write("expected", after);
            loadBatchSettings();
            QVERIFY(QFile::remove(path("ImageToPDF.ini")));
            saveBatchSettings();
            QCOMPARE(lines("ImageToPDF.ini"), lines("expected"));
        }
        setSettingsFolder({});
    }

    void fileThatIsAddedAgainMovesToTheEnd() // also under a path that differs in case only
    {
        BatchListModel model;
        QList<BatchFile> files;
        for (const char *const path : {"/x/a.jpg", "/x/b.jpg", "/y/a.jpg", "/x/b.jpg", "/x/A.jpg"})
            files.emplaceBack().key.fullPath = path;
        model.addFiles(files);
        QCOMPARE(model.paths(), QStringList({"/y/a.jpg", "/x/b.jpg", "/x/A.jpg"}));
    }

    void foldersAreWalkedToTheBottom()
    {
        newFolder({"a/b/c", "empty.d", ".hidden"});
        for (const char *const name : {"1.jpg", "a/2.jpg", "a/b/c/3.txt", ".hidden/4.jpg", "nodot"})
            write(name, "x");
        Files::link(path("a"), path("a/b/loop"));
#ifdef Q_OS_WIN
        constexpr int length = 400; // longer than paths were there once
#else
        constexpr int length = 3900; // deeper than a process may have folders open
#endif
        QString deep = path("deep");
        while (deep.size() < length)
            deep += "/d";
        QVERIFY(QDir().mkpath(deep));
        QVERIFY(Files::write(deep + "/5.jpg", "x"));
        QStringList met;
        walkFolder(folder->path(), [&](const QString &file) {
            met.append(QFileInfo(file).fileName());
            return true;
        });
        QCOMPARE(met, QStringList({"1.jpg", "2.jpg", "3.txt", "5.jpg"})); // as their folders stand
        int calls = 0;
        walkFolder(folder->path(), [&](const QString &) { return ++calls < 2; });
        QCOMPARE(calls, 2);
    }

    /// ConvertTest has what others make of them.
    void gifFilesAreNotTooLarge()
    {
        newFolder();
        for (const int width : {65535, 65536}) {
            QImage picture(width, 1, QImage::Format_Grayscale8);
            picture.fill(7);
            QFile file(path("a.gif"));
            QVERIFY(!GifEncoder::write(picture, file)); // closed
            QVERIFY(file.open(QIODevice::WriteOnly));
            QCOMPARE(GifEncoder::write(picture, file), width == 65535);
            file.close();
            QCOMPARE(QImage(file.fileName()).width(), width == 65535 ? width : 0);
        }
    }
};

QTEST_GUILESS_MAIN(BatchRulesTest)
#include "BatchRulesTest.moc"
