#include "batch/BatchListModel.h"
#include "batch/BatchOptions.h"
#include "batch/FolderWalk.h"
#include "batch/PdfPageLayout.h"
#include "formats/gif/GifEncoder.h"
#include "library/FileNames.h"
#include "library/ThumbnailRequestQueue.h"
#include "shared/platform/NativePath.h"
#include "shared/platform/NewFileName.h"
#include "shared/platform/PathIdentity.h"
#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "shell/WindowGeometry.h"
#include "support/Files.h"
#include "viewer/ViewGeometry.h"

#include <QtGui>

#include <climits>
#include <cmath>

/// The plain rules: no widgets, no threads.
class RulesTest : public FolderTest
{
    Q_OBJECT

private slots:
    void fileNames()
    {
        const QString line = "0123456789abcdef";
        QCOMPARE(wrapFileName(line), line);
        QCOMPARE(wrapFileName(line + line + "01234.jpg"), line + "\n" + line + "\n01234.jpg");
        const QString two = QString::fromUtf8("\U0001F305"); // two code units
        QCOMPARE(wrapFileName(line.chopped(1) + two + "."), line.chopped(1) + "\n" + two + ".");
    }

    void namesOfNewFiles()
    {
        const QStringList nowhere = {"", ".", "..", "../a", "a/b", QString("a") + QChar(u'\0')};
        const QStringList onUnixAlone = {"...", "a\\b", "a.jpg:b", "a?.jpg", "a\nb",
                                         "a.",  "a ",   "Con.jpg", "lpt1",   "COM\u00b2 .jpg"};
        for (const QString &name : nowhere + onUnixAlone + QStringList{"a.jpg", ".a", "console.jpg"}) {
            QVERIFY2(isNewFileName(name, FileNameRules::Unix) != nowhere.contains(name), qPrintable(name));
            QVERIFY2(isNewFileName(name, FileNameRules::Windows) != (nowhere + onUnixAlone).contains(name),
                     qPrintable(name));
        }
    }

    void pathsForWindows()
    {
        for (const auto &[path, native] :
             {std::pair("C:/d/a.jpg", R"(\\?\C:\d\a.jpg)"), std::pair("C:/", R"(\\?\C:\)"),
              std::pair("//server/share/a b", R"(\\?\UNC\server\share\a b)"),
              std::pair(R"(\\?\C:\a)", R"(\\?\C:\a)"), std::pair("//./nul", R"(\\.\nul)")})
            QCOMPARE(extendedLengthPath(path), native);
    }

    void pathsThatAreOne()
    {
        const bool windows = QDir::separator() == u'\\';
        using Row = std::tuple<QString, QString, bool, bool, bool, bool>;
        for (const auto &[a, b, exact, caseless, nativeCaseless, nativeLowerCase] :
             {Row("/d/a.jpg", "/d/a.jpg", true, true, true, true),
              Row("/d/a.jpg", "/D/A.JPG", false, true, true, true),
              Row("/d/\u00c4.jpg", "/d/\u00e4.jpg", false, true, true, true),
              Row("/d/\u03c3.jpg", "/d/\u03c2.jpg", false, true, true, false), // both lower-case sigmas
              Row("c:/d/a.jpg", "C:\\d\\a.jpg", false, false, windows, windows)}) {
            QCOMPARE(ExactPath(a) == ExactPath(b), exact);
            QCOMPARE(CaselessPath(a) == CaselessPath(b), caseless);
            QCOMPARE(NativeCaselessPath(a) == NativeCaselessPath(b), nativeCaseless);
            QCOMPARE(QSet({NativeLowerCasePath(a)}).contains(NativeLowerCasePath(b)), nativeLowerCase);
        }
    }

    void windowGeometry()
    {
        const auto restored = [](int x, int y, int w, int h) {
            return restoredGeometry({x, y, w, h}, QSize(1920, 1080));
        };
        QCOMPARE(restored(0, 0, 0, 0), QRect(0, 0, 986, 513)); // first start
        QCOMPARE(restored(50, 60, 1200, 800), QRect(50, 60, 1200, 800));
        QCOMPARE(restored(-1, -1, 1200, 800), QRect(100, 100, 1200, 800));
        QCOMPARE(restored(1000, 10, 1000, 600), QRect(920, 10, 1000, 600)); // wide: moved back
        QCOMPARE(restored(10, 10, 1000, 2000), QRect(10, 10, 1000, 1080));  // higher than the screen is wide
        QCOMPARE(restored(INT_MAX, INT_MIN, INT_MAX, INT_MAX), QRect(100, 100, 1920, 1080));
    }

    void layoutOfTheView()
    {
        using enum ScaleMode;
        const QSize view(1000, 500);
        const auto layout = [&](ScaleMode mode, QSize full, double factor = 0) {
            const ViewLayout found = viewLayout(mode, full, view, factor);
            return QList<QSize>{found.image.isEmpty() ? QSize() : found.image, found.label};
        };
        using Sizes = QList<QSize>;
        QCOMPARE(layout(Fit, QSize(4000, 100)), (Sizes{{1000, 25}, view}));
        QCOMPARE(layout(Fit, QSize(9000, 2)), (Sizes{{1000, 1}, view})); // thinner than a pixel
        QCOMPARE(layout(FitHeight, QSize(400, 100)), (Sizes{{2000, 500}, {2000, 500}}));
        QCOMPARE(layout(RealSize, QSize(3000, 40)), (Sizes{{3000, 40}, {3000, 500}}));
        QCOMPARE(layout(Free, QSize(300, 155), 0.5), (Sizes{{149, 77}, view}));           // from the height
        QCOMPARE(layout(Free, QSize(300, 155), std::nan("")), (Sizes{{968, 500}, view})); // nothing was shown
        for (const ScaleMode mode : {Fit, FitWidth, FitHeight, RealSize, Free})
            QCOMPARE(layout(mode, QSize(0, 0), 1), (Sizes{QSize(), view}));
        QCOMPARE(viewportOf(QSize(3, 3)), QSize(1, 1));
    }

    void zooming()
    {
        const auto next = [](int shown, int full, int step) {
            return zoomStep(shown, full, step, 340.0).value_or(0);
        };
        QCOMPARE(next(1005, 3000, -1), 904);
        QCOMPARE(next(44, 3000, -1), 0);  // not below 40 pixels
        QCOMPARE(next(3700, 1000, 1), 0); // not beyond four times
        QCOMPARE(next(330, 10, 1), 0);    // beyond four times and the screen's width
    }

    void thumbnailsAreMadeFromWhereTheUserScrolled()
    {
        ThumbnailRequestQueue queue;
        int count = 0;
        const auto append = [&](int files) {
            while (files-- > 0)
                queue.append({QFileInfo(), count++});
        };
        const auto takes = [&](float ratio, int first, int last) {
            const int step = first < last ? 1 : -1;
            for (int row = first; row != last + step; row += step)
                QCOMPARE(queue.takeNext(ratio, count)->row, row);
        };
        append(300);
        takes(0, 0, 2);
        takes(0.5f, 110, 210); // from 40 above on
        takes(0.5f, 60, 109);  // after 101 of them 50 back
        takes(0.1f, 211, 261); // above the top: goes on
        takes(0.25f, 35, 59);
        takes(std::nanf(""), 262, 299); // nothing to scroll: goes on
        takes(std::nanf(""), 34, 5);    // at the end backwards
        append(100);
        takes(0.5f, 300, 399); // the rows from 160 on are done
        takes(0.2f, 4, 3);
        QVERIFY(!queue.takeNext(1, count));
        append(100);
        count -= 10; // which have left the list
        append(20);
        takes(1, 470, 499);
        for (int again = 0; again < 10; ++again)
            takes(1, 499, 499);
        takes(1, 500, 509);
    }

    void namesOfConvertedFiles()
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

    void settingsOfAFreshInstallationAndOfALaterOne()
    {
        newFolder();
        setSettingsFolder(folder->path());
        QSettings store = programSettings();
        BrowserSettings::exportImagePath().write(store, "/d");
        store.sync();
        QCOMPARE(lines("Vistamo.ini"), QStringList({"[%General]", "exportImagePath=/d"}));

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

QTEST_MAIN(RulesTest)
#include "RulesTest.moc"
