#include "batch/ImagesToPDFConvertThread.h"
#include "batch/PdfPageLayout.h"
#include "shared/image/ImageReading.h"
#include "shared/image/ShrunkRows.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "support/SyscallLog.h"
#include "support/Tools.h"

/// PDF files as other programs see them.
class PdfTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"real"});
        std::iota(std::begin(VistamoGlobal::pageSizeComboIndex), std::end(VistamoGlobal::pageSizeComboIndex),
                  0);
        VistamoGlobal::outputFolder = folder->path();
        VistamoGlobal::pdfFileName = "all.pdf";
        VistamoGlobal::resizeImageToPaper = false;
        VistamoGlobal::pageMargin = VistamoGlobal::pageSize = 0;
        VistamoGlobal::pageOrientation = VistamoGlobal::pdfQuality = 0;
        Pictures::save(path("a.png"), QSize(90, 60));
        Pictures::save(path("b.png"), QSize(3000, 400));
    }

    /// Every paper, orientation and resolution, with and without margin, and numbers beyond the tables.
    void pagesAreAsChosen()
    {
        // Points, as the paper's makers have them.
        const QList<QSizeF> papers = {{612, 792},  {612, 792}, {595, 842}, {420, 595},
                                      {612, 1008}, {540, 720}, {612, 792}};
        const QList<int> resolutions = {300, 96, 150, 300, 400, 600, 1200, 300};
        for (int i = 0; i < 28; ++i) {
            const bool enlarged = i % 3 == 0;
            const int resolution = resolutions[i % 8];
            VistamoGlobal::pageSize = i % 7 - 1;
            VistamoGlobal::pdfQuality = i % 8 - 1;
            VistamoGlobal::pageOrientation = i % 2;
            VistamoGlobal::pageMargin = i / 2 % 2;
            VistamoGlobal::pageMarginSize = 5 + resolution / 12;
            VistamoGlobal::resizeImageToPaper = enlarged;
            const QString info = create({"a.png", "b.png"});
            QVERIFY2(info.contains(QRegularExpression("PDF version: +1.6\n")), qPrintable(info));
            const auto size = QRegularExpression("Page size: +([0-9.]+) x ([0-9.]+) pts").match(info);
            const QSizeF expected = i % 2 ? papers[i % 7].transposed() : papers[i % 7];
            QVERIFY2(qAbs(size.captured(1).toDouble() - expected.width()) < 1
                         && qAbs(size.captured(2).toDouble() - expected.height()) < 1,
                     qPrintable(info));

            const double pixels = resolution / 72.0; // a point
            const int margin = i / 2 % 2 * VistamoGlobal::pageMarginSize * 10;
            const QSize available = (expected * pixels).toSize() - QSize(2 * margin, 2 * margin);
            const QList<QSize> pictures = {QSize(90, 60), QSize(3000, 400)};
            for (int page = 0; page < 2; ++page) {
                const QSizeF drawn = pdfPictureSize(pictures[page], available, enlarged);
                const QRectF wanted(QPointF(margin, margin) / pixels, drawn / pixels);
                const QRectF seen = pictureOnPage(page + 1);
                QVERIFY(seen.adjusted(-2.5, -2.5, 2.5, 2.5).contains(wanted));
                QVERIFY(wanted.adjusted(-2.5, -2.5, 2.5, 2.5).contains(seen));
            }
        }
    }

    void edgesAreSmoothOnlyIfWanted()
    {
        VistamoGlobal::pdfQuality = 1; // 150 dpi
        // Stripes that are too fine for the page, which is white.
        const auto stripe = [](int x, int) { return x % 2 ? qRgba(0, 0, 0, 0) : qRgb(0, 0, 0); };
        QVERIFY(Pictures::painted({2000, 10}, stripe, QImage::Format_ARGB32).save(path("a.png")));
        for (const bool smooth : {false, true}) {
            VistamoGlobal::pdfSmoothEdges = smooth;
            create({"a.png"});
            Tools::run("pdfimages", {"-png", path("all.pdf"), path("stored")});
            const QImage stored(path("stored-000.png"));
            QCOMPARE(stored.width(), 1275);
            int gray = 0;
            for (int x = 0; x < stored.width(); ++x)
                gray += qAbs(qGray(stored.pixel(x, 3)) - 128) < 64;
            QVERIFY(smooth ? gray > 200 : gray == 0);
        }
    }

    /// A page that shows a JPEG file with its own pixels has its bytes, without metadata.
    void jpegFilesGoInAsTheyAre()
    {
        const QImage picture = Pictures::quarters(QSize(90, 60));
        QImage wide = picture;
        wide.setColorSpace(QColorSpace::AdobeRgb);
        const QImage wider = picture.scaled(1632, 120);
        const QByteArray plain = Pictures::encoded(picture, "jpg", 85);
        const QByteArray grey = Pictures::encoded(picture.convertedTo(QImage::Format_Grayscale8), "jpg", 85);
        const QByteArray progressive = Pictures::progressiveJpeg(picture);
        const QByteArray adobe("\xff\xee\0\x0e"
                               "Adobe\0\x64\0\0\0\0\1",
                               16);
        const QByteArray others("\xff\xe1\0\x08"
                                "Exif\0\0\xff\xfe\0\x04hi",
                                16);
        const auto with = [&plain](const QByteArray &segments) {
            return QByteArray(plain).insert(plain.indexOf("\xff\xdb"), segments);
        };
        Pictures::save(path("turned.jpg"), QSize(90, 60), 6);
        QVERIFY(Tools::run("convert", {path("a.png"), "-colorspace", "CMYK", path("inks.jpg")}));
        const QList<std::tuple<const char *, QByteArray, QByteArray>> cases = {
            {"plain", plain, plain},
            {"grey", grey, grey},
            {"progressive", progressive, progressive},
            {"metadata", with(others + adobe + others) + "behind", with(adobe)},
            {"turned", read("turned.jpg"), {}},
            {"wide colours", Pictures::encoded(wide, "jpg", 85), {}},
            {"not whole", plain.chopped(2), {}},
            {"inks", read("inks.jpg"), {}},
            {"wider than the page", Pictures::encoded(wider, "jpg"), {}},
            {"half of it", Pictures::encoded(wider, "jpg").first(2500), {}},
            {"wider, grey", Pictures::encoded(wider.convertedTo(QImage::Format_Grayscale8), "jpg"), {}},
            {"wider, wide colours", Pictures::encoded(wide.scaled(1632, 120), "jpg"), {}},
        };
        QStringList files;
        for (const auto &[name, file, stored] : cases) {
            files.append(QString(name) + ".jpg");
            write(files.last(), file);
        }
        QVERIFY(create(files).contains(QStringLiteral("Pages:           %1\n").arg(cases.size())));
        for (int page = 1; page <= cases.size(); ++page) {
            const auto &[name, file, stored] = cases[page - 1];
            const QStringList pageAlone = {"-f", QString::number(page), "-l", QString::number(page)};
            Tools::run("pdfimages", pageAlone + QStringList{"-j", path("all.pdf"), path("stored")});
            QVERIFY2(stored.isEmpty() != (read("stored-000.jpg") == stored), name);
            const QImage shown = ImageReading::read(path(files[page - 1]));
            const QRect place(QPoint(), shown.size().boundedTo({816, 60}));
            QVERIFY2(Pictures::difference(drawn(page, 96).copy(place), shown.scaled(place.size())) < 4, name);
        }

        // Readers mend a wrong table of contents without a word.
        const QByteArray pdf = read("all.pdf");
        const QByteArray table = pdf.mid(pdf.mid(pdf.lastIndexOf("startxref\n") + 10).split('\n')[0].toInt());
        const QList<QByteArray> lines = table.first(table.indexOf("trailer")).split('\n');
        QVERIFY(lines[0] == "xref" && lines.size() > 4 * cases.size());
        for (int object = 1; object < lines.size() - 3; ++object)
            QVERIFY(pdf.mid(lines[object + 2].first(10).toInt())
                        .startsWith(QByteArray::number(object) + " 0 obj\n"));
    }

    /// Each pixel is the mean of what it covers, as far as this can be told in whole numbers, and so as Qt
    /// has it.
    void rowsAreShrunkToTheirMeans()
    {
        const auto covered = [](int thing, int place, double ratio) {
            return std::max(0.0, std::min(thing + 1.0, (place + 1) * ratio)
                                     - std::max<double>(thing, place * ratio))
                   / ratio;
        };
        const QImage noise = Pictures::noise({301, 97});
        for (const QImage &larger :
             {noise.convertedTo(QImage::Format_RGB888), noise.convertedTo(QImage::Format_Grayscale8)}) {
            for (const QSize size :
                 {noise.size(), QSize(300, 96), QSize(165, 53), QSize(7, 97), QSize(1, 1)}) {
                int rowsLeft = 97;
                PictureRows rows{larger.copy(0, 0, 1, 1), larger.size(), {}};
                rows.next = [&](uchar *row) {
                    if (rowsLeft > 0)
                        std::copy_n(larger.constScanLine(97 - rowsLeft), rows.bytesOfRow(), row);
                    return --rowsLeft >= 0;
                };
                QImage shrunk(size, larger.format());
                int y = 0;
                const auto give = [&](const uchar *row) {
                    std::copy_n(row, size.width() * larger.depth() / 8, shrunk.scanLine(y));
                    return ++y <= size.height();
                };
                QVERIFY(shrinkRows(rows, size, give) && y == size.height());
                QVERIFY(!shrinkRows(rows, size, give));
                const QImage scaled = larger.convertedTo(QImage::Format_RGB32)
                                          .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
                QVERIFY(Pictures::difference(shrunk.convertedTo(QImage::Format_RGB32), scaled) < 1);
                const double across = 301.0 / size.width(), down = 97.0 / size.height();
                for (int i = 0; i < size.width() * size.height(); ++i) {
                    const int x = i % size.width(), y = i / size.width();
                    double red = 0, blue = 0;
                    for (int from = int(y * down); from < std::min(97.0, (y + 1) * down); ++from)
                        for (int column = int(x * across); column < std::min(301.0, (x + 1) * across);
                             ++column) {
                            const double part = covered(column, x, across) * covered(from, y, down);
                            red += part * qRed(larger.pixel(column, from));
                            blue += part * qBlue(larger.pixel(column, from));
                        }
                    QVERIFY(qAbs(red - qRed(shrunk.pixel(x, y))) < 1.5
                            && qAbs(blue - qBlue(shrunk.pixel(x, y))) < 1.5);
                }
            }
        }
    }

    void aBrokenPictureGivesABlankPage()
    {
        write("broken.jpg", "broken");
        QVERIFY(create({"a.png", "broken.jpg", "b.png"}).contains(QRegularExpression("Pages: +3\n")));
        QVERIFY(pictureOnPage(2).isEmpty());
        QVERIFY(pictureOnPage(3).width() > 600);
    }

    /// The real limit is two gigabytes.
    void whatFitsIsFinished()
    {
        QVERIFY(Pictures::noise(QSize(500, 500)).save(path("noise.png")));
        BatchRun run;
        run.options = BatchOptions::current();
        run.sourceFiles = QStringList(12, path("noise.png"));
        run.targetPath = path("all.pdf");
        const RunObserver observer{[](const QString &) {}, [] { return false; }};
        constexpr qint64 limit = 2'500'000;
        const qsizetype pages = createPdf(run, observer, limit);
        QVERIFY(pages > 1 && pages < 12 && QFileInfo(path("all.pdf")).size() <= limit);
        QVERIFY(pdfInfo().contains(QStringLiteral("Pages:           %1\n").arg(pages)));
        QVERIFY(!pictureOnPage(int(pages)).isEmpty());
        QCOMPARE(createPdf(run, observer), 12);
        QCOMPARE(createPdf(run, observer, 1), 1); // the first one in any case
    }

    void whatWasNotToBeOverwrittenIsKept()
    {
        write("all (previous).pdf", "the first");
        write("all.pdf", "the second");
        create({"a.png"}, "elsewhere.pdf");
        QCOMPARE(read("all (previous).pdf"), "the first");
        QCOMPARE(read("all (previous 2).pdf"), "the second");
        create({"a.png"});
        QCOMPARE(QDir(folder->path()).entryList({"*.pdf"}).size(), 3);

        // Behind a link it is the file that the link points to.
        write("real/all.pdf", "the third");
        QVERIFY(QFile::remove(path("all.pdf")));
        if (Files::link(path("real/all.pdf"), path("all.pdf"))) {
            create({"a.png"}, "elsewhere.pdf");
            QCOMPARE(read("real/all (previous).pdf"), "the third");
            QVERIFY(read("all.pdf").startsWith("%PDF-1.6"));
        }

        // Also what appears at the last moment, whether or not another name was asked for.
        for (const QString target : {"elsewhere.pdf", "all.pdf"}) {
            QFile::remove(path("all (previous 3).pdf"));
            QFile::remove(path("all.pdf"));
            beforeSyscall() = [this](const QString &call) {
                if (call.endsWith("/all.pdf") && !QFile::exists(path("all (previous 3).pdf")))
                    write("all.pdf", "the fourth");
                return 0;
            };
            create({"a.png"}, target);
            beforeSyscall() = nullptr;
            QCOMPARE(read("all (previous 3).pdf"), "the fourth");
            QVERIFY(read("all.pdf").startsWith("%PDF-1.6"));
        }

        // What is no name, or one in another folder.
        QStringList none = {"real/../other.pdf", "real"};
#ifdef Q_OS_WIN
        none.append({"a.png:b.pdf", "CON.pdf", "b?.pdf", "other.pdf.", "real\\b.pdf"});
#endif
        const QStringList files = QDir(folder->path()).entryList();
        for (const QString &name : none) {
            VistamoGlobal::pdfFileName = name;
            create({"a.png"});
            QCOMPARE(QDir(folder->path()).entryList(), files);
        }
    }

private:
    /// Makes the PDF; what is said of it by a program that reads it.
    QString create(const QStringList &sources, const QString &target = "all.pdf")
    {
        ImagesToPDFConvertThread thread;
        for (const QString &source : sources)
            thread.sourceFiles.append(path(source));
        thread.targetPath = path(target);
        thread.start();
        thread.wait();
        return pdfInfo();
    }
    QString pdfInfo() const
    {
        return QString::fromUtf8(Tools::run("pdfinfo", {path("all.pdf")}).value_or(""));
    }

    QImage drawn(int page, int dpi) const
    {
        const QString number = QString::number(page);
        Tools::run("pdftoppm", {"-r", QString::number(dpi), "-png", "-singlefile", "-f", number, "-l", number,
                                path("all.pdf"), path("page")});
        return QImage(path("page.png"));
    }
    /// Where a page is not white, points from its upper left corner.
    QRectF pictureOnPage(int page) const
    {
        const QImage image = drawn(page, 72);
        QRect seen;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixelColor(x, y) != Qt::white)
                    seen |= QRect(x, y, 1, 1);
        return seen;
    }
};

QTEST_MAIN(PdfTest)
#include "PdfTest.moc"
