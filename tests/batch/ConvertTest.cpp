#include "batch/ImagesToPDFConvertThread.h"
#include "shared/ImageReading.h"
#include "shared/VistamoGlobal.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QColorSpace>
#include <QtTest>

/// Runs of the worker on real files: what is converted, and what is left on the disk when it fails.
class ConvertTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"in", "out"});
        names.clear();
        VistamoGlobal::outputFolder = path("out");
        VistamoGlobal::pdfFileName = "all.pdf";
        VistamoGlobal::pdfSmoothEdges = true;
        VistamoGlobal::targeFileQuality = 95;
    }

    void cleanup()
    {
        for (const char *const name : {"in", "out"})
            QCOMPARE(QDir(path(name)).entryList({"*.tmp"}, QDir::Files | QDir::Hidden), QStringList());
    }

    void everyFormatIsReadByOthers()
    {
        Pictures::save(path("in/a.turned.jpg"), QSize(60, 40), 6);
        const QStringList formats = {"gif", "jpg", "png", "tiff", "webp"};
        for (const QString &format : formats) {
            QVERIFY(convert({"in/a.turned.jpg"}, '.' + format).isEmpty());
            QProcess identify;
            identify.start("identify", {"-format", "%m %wx%h", path("out/a." + format)});
            QVERIFY(identify.waitForFinished());
            QCOMPARE(QString::fromLatin1(identify.readAllStandardOutput()).toLower().replace("jpeg", "jpg"),
                     format + " 60x40");
            QCOMPARE(Pictures::quartersOf(QImage(path("out/a." + format))), "red green blue yellow");
        }
        QCOMPARE(disk("out").size(), formats.size());
    }

    void everythingVisibleIsInListOrder()
    {
        QStringList sources;
        for (int i = 0; i < 30; ++i) {
            sources.append(QStringLiteral("in/%1.%2.png").arg(i / 2).arg(i % 2));
            Pictures::save(path(sources.last()), QSize(40 + i % 2, 30 + i));
        }
        write("in/0.0.png", "broken"); // then the second of the name is the first that is there
        const QStringList existing = convert(sources, ".jpg");
        QStringList expected;
        for (int i = 3; i < 30; i += 2)
            expected.append(QStringLiteral("out/%1.jpg < in/%1.1.png").arg(i / 2));
        QCOMPARE(existing, expected);
        QCOMPARE(names, sources);
        QCOMPARE(QImage(path("out/0.jpg")).width(), 41);
        QCOMPARE(QImage(path("out/1.jpg")).width(), 40);
        // Overwriting, the last of a name stays.
        QCOMPARE(convert(sources, ".jpg", true), QStringList());
        QCOMPARE(QImage(path("out/1.jpg")).width(), 41);
    }

    void aSourceThatIsATargetIsReadAfterItsWriting()
    {
        for (int i = 0; i < 10; ++i) {
            Pictures::save(path("in/a.jpg"), QSize(600, 400));
            Pictures::save(path("in/a.png"), QSize(60, 40));
            VistamoGlobal::outputFolder = path("in");
            // a.png is written from a.jpg, and is then what is converted in place.
            QVERIFY(convert({"in/a.jpg", "in/a.png"}, ".png", true).isEmpty());
            QCOMPARE(QImage(path("in/a.png")).size(), QSize(600, 400));
        }
    }

    void filesThatAreOneUnderTwoNamesAreDoneOneByOne()
    {
        // Over a link both targets are one file; the second waits for the first and replaces it.
        QVERIFY(QFile::link(path("out/real.png"), path("out/b.png")));
        for (int i = 0; i < 10; ++i) {
            Pictures::save(path("in/real.jpg"), QSize(900, 600));
            Pictures::save(path("in/b.jpg"), QSize(90, 60));
            QVERIFY(convert({"in/real.jpg", "in/b.jpg"}, ".png", true).isEmpty());
            QCOMPARE(QImage(path("out/real.png")).size(), QSize(90, 60));
        }
    }

    void qualityCountsForJpgAlone()
    {
        Pictures::save(path("in/a.png"), QSize(300, 200));
        QList<qint64> sizes;
        for (const int quality : {0, 50, 99}) {
            VistamoGlobal::targeFileQuality = quality;
            for (const char *const extension : {".jpg", ".webp"}) {
                convert({"in/a.png"}, extension, true);
                sizes.append(QFileInfo(path(QStringLiteral("out/a") + extension)).size());
            }
        }
        QVERIFY(sizes[0] < sizes[2] && sizes[2] < sizes[4]);
        QVERIFY(sizes[1] == sizes[3] && sizes[3] == sizes[5]);
    }

    void whatFailsLeavesTheDiskAsItWas_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("extension");
        for (const char *const fault : {"read-only folder", "full disk", "broken source", "source gone",
                                        "target is a folder", "no folder", "no such format"})
            for (const char *const extension : {".png", ".gif"})
                QTest::addRow("%s %s", fault, extension) << fault << extension;
        for (const char *const fault : {"read-only folder", "full disk", "no folder"})
            QTest::addRow("%s .pdf", fault) << fault << QStringLiteral(".pdf");
    }
    void whatFailsLeavesTheDiskAsItWas()
    {
        QFETCH(QString, fault);
        QFETCH(QString, extension);
        const QString target = extension == ".pdf" ? "out/all.pdf" : "out/a" + extension;
        // Small enough for the disk to be found full at the end: Qt's PNG writer leaks what it cannot finish.
        QImage noise(extension == ".png" ? QSize(60, 40) : QSize(400, 300), QImage::Format_RGB32);
        for (int y = 0; y < noise.height(); ++y)
            for (int x = 0; x < noise.width(); ++x)
                noise.setPixel(x, y, QRandomGenerator::global()->generate());
        QVERIFY(noise.save(path("in/a.bmp")));
        const QByteArray source = read("in/a.bmp");
        if (fault == "target is a folder")
            QVERIFY(QDir(path("out")).mkdir("a" + extension));
        else
            write(target, "the old one");
        if (fault == "broken source")
            write("in/a.bmp", source.first(20));
        else if (fault == "source gone")
            QVERIFY(QFile::remove(path("in/a.bmp")));
        else if (fault == "no folder")
            VistamoGlobal::outputFolder = path("gone");
        else if (fault == "no such format")
            extension = ".xyz";
        const auto run = [&] { convert({"in/a.bmp"}, extension, true, extension != ".pdf"); };
        if (fault == "read-only folder")
            inReadOnlyFolder(run);
        else if (fault == "full disk")
            Failures::onFullDisk(2'000, run);
        else
            run();
        QCOMPARE(names, QStringList("in/a.bmp"));
        if (fault != "target is a folder")
            QCOMPARE(read(target), "the old one");
        QCOMPARE(QDir(path("out")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
        if (fault != "source gone")
            QVERIFY(source.startsWith(read("in/a.bmp")));
    }

    void profilesGoAlong_data()
    {
        QTest::addColumn<QImage::Format>("pixels");
        QTest::addColumn<QString>("format");
        for (const auto pixels : {QImage::Format_RGB32, QImage::Format_Grayscale8})
            for (const char *const format : {"png", "jpg", "webp", "tiff"})
                QTest::addRow("%d %s", pixels, format) << pixels << format;
    }
    /// Whatever a format makes of them, the colours are seen as before.
    void profilesGoAlong()
    {
        QFETCH(QImage::Format, pixels);
        QFETCH(QString, format);
        QImage image = QImage(60, 40, QImage::Format_RGB32);
        image.fill(qRgb(100, 100, 100));
        image.convertTo(pixels);
        image.setColorSpace(QColorSpace(QColorSpace::Primaries::DciP3D65, 1.5F));
        QVERIFY(image.save(path("in/a.tiff")));
        const QColor seen = ImageReading::read(path("in/a.tiff")).pixelColor(5, 5);
        QVERIFY(seen.red() > 115);
        QVERIFY(convert({"in/a.tiff"}, "." + format).isEmpty());
        const QColor after = ImageReading::read(path("out/a." + format)).pixelColor(5, 5);
        QVERIFY2(qAbs(after.red() - seen.red()) <= 3, qPrintable(after.name() + seen.name()));
    }

    void aKilledRunLeavesNoHalfFile()
    {
        for (int i = 0; i < 60; ++i)
            Pictures::save(path(QStringLiteral("in/%1.jpg").arg(i, 2, 10, QChar('0'))), QSize(1200, 900));
        QProcess run; // threads do not come along in a fork
        run.start(QCoreApplication::applicationFilePath(), {"--convert", folder->path()});
        QTRY_VERIFY(disk("out").size() > 5);
        run.kill();
        QVERIFY(run.waitForFinished());
        QVERIFY(disk("out").size() < 60);
        for (const QString &name : disk("out"))
            QCOMPARE(QImage(path("out/" + name)).size(), QSize(1200, 900));
        for (const QString &name : QDir(path("out")).entryList({"*.tmp"}, QDir::Files | QDir::Hidden))
            QVERIFY(name.startsWith(".orrelan-") && QFile::remove(path("out/" + name)));
    }

    void aStoppedRunReplacesNothing()
    {
        QStringList sources;
        for (int i = 0; i < 40; ++i) {
            sources.append(QStringLiteral("in/%1.jpg").arg(i));
            Pictures::save(path(sources.last()), QSize(1500, 1000));
        }
        write("out/all.pdf", "the old one");
        stopAfter = 3;
        convert(sources, ".pdf", false, false);
        QVERIFY(terminated);
        QCOMPARE(read("out/all.pdf"), "the old one");
        convert(sources, ".png");
        QVERIFY(terminated);
        const QStringList done = disk("out");
        QVERIFY(done.size() > 1 && done.size() < 20);
        for (const QString &name : done)
            QVERIFY(name == "all.pdf" || QImage(path("out/" + name)).size() == QSize(1500, 1000));
        stopAfter = -1;
    }

public:
    /// Converts everything in the folder "in", until it is killed.
    static int convertAll(const QString &folder)
    {
        ImagesToPDFConvertThread thread;
        for (const QFileInfo &info : QDir(folder + "/in").entryInfoList(QDir::Files, QDir::Name))
            thread.sourceFiles.append(info.filePath());
        thread.targetPath = folder + "/out";
        thread.targetExtension = ".png";
        thread.isConvertMode = 1;
        thread.start();
        return thread.wait() ? 0 : 1;
    }

private:
    /// Runs the worker; the targets that existed and their sources, as "target < source".
    QStringList convert(const QStringList &sources, const QString &extension, bool overwrite = false,
                        bool converts = true)
    {
        ImagesToPDFConvertThread thread;
        for (const QString &source : sources)
            thread.sourceFiles.append(path(source));
        thread.targetPath = VistamoGlobal::outputFolder + (converts ? "" : "/all.pdf");
        thread.targetExtension = extension;
        thread.overwrite = overwrite;
        thread.isConvertMode = converts;
        names.clear();
        terminated = false;
        QStringList existing;
        connect(
            &thread, &ImagesToPDFConvertThread::updateFileName, &thread,
            [&](const QString &name) {
                names.append(relative(name));
                if (names.size() == stopAfter)
                    thread.stop();
            },
            Qt::DirectConnection);
        connect(
            &thread, &ImagesToPDFConvertThread::threadTerminated, &thread, [&] { terminated = true; },
            Qt::DirectConnection);
        connect(
            &thread, &ImagesToPDFConvertThread::threadCompleted, &thread,
            [&](const QStringList &targets, const QStringList &fromSources) {
                for (qsizetype i = 0; i < targets.size(); ++i)
                    existing.append(relative(targets[i]) + " < " + relative(fromSources.value(i)));
            },
            Qt::DirectConnection);
        thread.start();
        thread.wait();
        return existing;
    }
    /// The folder "out" takes no new file, while everything can be read.
    void inReadOnlyFolder(const std::function<void()> &action)
    {
        const auto readable = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
        QVERIFY(QFile::setPermissions(folder->path(), readable | QFile::WriteOwner));
        QVERIFY(QFile::setPermissions(path("in"), readable | QFile::WriteOwner));
        QVERIFY(QFile::setPermissions(path("out"), readable));
        Failures::asNobody(action);
        QVERIFY(QFile::setPermissions(path("out"), readable | QFile::WriteOwner));
    }
    QString relative(const QString &name) const { return QDir(folder->path()).relativeFilePath(name); }

    QStringList names; ///< as they were announced
    bool terminated = false;
    int stopAfter = -1;
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--convert") == 0)
        return ConvertTest::convertAll(QString::fromLocal8Bit(argv[2]));
    ConvertTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "ConvertTest.moc"
