#include "batch/BatchListItem.h"
#include "batch/BatchListModel.h"
#include "batch/BatchOptions.h"
#include "batch/FolderWalk.h"
#include "batch/PdfPageLayout.h"
#include "formats/gif/GifEncoder.h"
#include "library/Thumbnails.h"
#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"
#include "support/Tools.h"

#include <QPainter>

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
            {{816, 10}, letter96, {816, 10}, {816, 10}},
            {{815, 1055}, letter96, {815, 1055}, {815, 1056}},
            {{20000, 1}, letter96, {816, 1}, {816, 1}},
            {{}, letter96, {}, {}},
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
        loadBatchSettings();
        const auto options = [] {
            return QVariantList(
                {VistamoGlobal::pageOrientation, VistamoGlobal::pageSize, VistamoGlobal::pageMargin,
                 VistamoGlobal::pageMarginSize, VistamoGlobal::resizeImageToPaper,
                 VistamoGlobal::pdfSmoothEdges, VistamoGlobal::pdfQuality, VistamoGlobal::outputFolder,
                 VistamoGlobal::pdfFileName, VistamoGlobal::targeFileType, VistamoGlobal::targeFileQuality});
        };
        QCOMPARE(options(), QVariantList({1, 0, 1, 20, false, true, 2, QString(), QString(), 6, 95}));
        write("ImageToPDF.ini",
              "[%General]\noutputFolder=/out\npageMargin=0\npageMarginSize=7\npageOrientation=0\npageSize=3\n"
              "pdfFileName=all.pdf\npdfQuality=5\npdfSmoothEdges=false\nresizeImageToPaper=true\n"
              "targeFileQuality=0\ntargeFileType=4\n");
        const QStringList stored = lines("ImageToPDF.ini");
        loadBatchSettings();
        QCOMPARE(options(), QVariantList({0, 3, 0, 7, true, false, 5, "/out", "all.pdf", 4, 0}));
        QVERIFY(QFile::remove(path("ImageToPDF.ini")));
        saveBatchSettings();
        QCOMPARE(lines("ImageToPDF.ini"), stored);
        setSettingsFolder({});
    }

    void rowsOfTheList()
    {
        for (const auto &[size, place] : {std::pair(QSize(192, 256), QRect(8, 0, 48, 64)),
                                          {{256, 100}, {0, 19, 64, 25}},
                                          {{256, 256}, {0, 0, 64, 64}}}) {
            QImage red(size, QImage::Format_RGB32);
            red.fill(Qt::red);
            QImage expected(64, 64, QImage::Format_RGB32);
            expected.fill(Qt::white);
            QPainter(&expected).fillRect(place, Qt::red);
            QCOMPARE(whiteSquareAround(red, 64).convertToFormat(expected.format()), expected);
        }

        // A file that is added again moves to the end, also under a path that differs in case only.
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

    void gifFilesAreWhatOthersRead()
    {
        const auto image = [](QSize size, QImage::Format format, const QList<QRgb> &table = {}) {
            QImage image(size, format);
            image.setColorTable(table);
            image.fill(table.isEmpty() ? qRgba(10, 200, 30, 128) : 1);
            return image;
        };
        const QList<QRgb> three = {qRgb(255, 0, 0), qRgb(0, 0, 255), qRgb(0, 255, 0)};
        newFolder();
        for (const QImage &picture :
             {image({37, 9}, QImage::Format_Mono, three.first(2)),
              image({5, 4}, QImage::Format_Indexed8, three),
              image({300, 200}, QImage::Format_Indexed8, QList<QRgb>(256, qRgb(0, 0, 7))),
              image({64, 64}, QImage::Format_RGB32), image({9, 7}, QImage::Format_ARGB32_Premultiplied),
              image({9, 7}, QImage::Format_RGBA64), image({1, 1}, QImage::Format_RGB32),
              image({65535, 1}, QImage::Format_Grayscale8)}) {
            QFile file(path("a.gif"));
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(GifEncoder::write(picture, file));
            file.close();
            QVERIFY(!GifEncoder::write(picture, file)); // closed
            const QByteArray text = Tools::run("giftext", {file.fileName()}).value_or("failed");
            QVERIFY2(text.contains("terminated normally"), text);
            const QString size =
                QStringLiteral("Width = %1, Height = %2.").arg(picture.width()).arg(picture.height());
            QCOMPARE(text.count(size.toLatin1()), 2); // of the screen and of the picture
            const QImage back(file.fileName());
            QCOMPARE(back.size(), picture.size());
            if (picture.depth() <= 8)
                QCOMPARE(back.pixelColor(0, 0), picture.pixelColor(0, 0));
        }
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QVERIFY(!GifEncoder::write(image({65536, 1}, QImage::Format_Grayscale8), buffer));
    }
};

QTEST_GUILESS_MAIN(BatchRulesTest)
#include "BatchRulesTest.moc"
