#include "shared/platform/PathIdentity.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "support/SyscallLog.h"
#include "viewer/Exports.h"

/// Exports: a file is complete or it isn't there.
class SaveImageThreadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder({"folder.png"}); }
    void cleanup() { QCOMPARE(all(".", {".orrelan*"}), QStringList()); }

    void formatsByName()
    {
        for (const QString &name : {QString("a.png"), QString("a.JPG"), QString("a.tiff"), QString("a.gif"),
                                    Files::possibleName("line\nfeed \"%20\".png")}) {
            save({{QSize(90, 60), name}});
            QImageReader reader(path(name));
            QCOMPARE(Pictures::quartersOf(reader.read()), "red green blue yellow");
            QVERIFY(name.endsWith(reader.format() == "jpeg" ? "JPG" : reader.format()));
        }
        QVERIFY(read("a.JPG").contains("\xff\xc2")); // progressive
        save({{QSize(9, 6), "no suffix"}, {QSize(9, 6), "a.nonsense"}, {QSize(), "null.png"}});
        QCOMPARE(disk(".").size(), 5);

        // Transparency lies on white.
        QPixmap half(90, 60);
        half.fill(QColor(30, 60, 220, 128));
        Exports exports;
        exports.add(half, path("a.JPG"));
        exports.finish();
        QVERIFY(Pictures::isNear(QImage(path("a.JPG")).pixelColor(9, 9), QColor(142, 157, 237), 3));
    }

    void laterPictureStays()
    {
        const QString name = QString(251, 'n') + ".png"; // as long as a name can be
        save({{QSize(90, 60), name}});
        QFile::setPermissions(path(name), QFile::ReadOwner | QFile::WriteOwner);
        save({{QSize(50, 40), name}, {QSize(30, 20), name}});
        QCOMPARE(QImage(path(name)).size(), QSize(30, 20));
#ifndef Q_OS_WIN
        QVERIFY(!QFileInfo(path(name)).permission(QFile::ReadGroup)); // as that of the old file
#endif
    }

    void failuresLeaveTheOldFile()
    {
        save({{QSize(9, 6), "folder.png"}, {QSize(9, 6), "gone/a.png"}});
        QVERIFY(QFileInfo(path("folder.png")).isDir());
#ifdef Q_OS_WIN
        for (const QString name : {"a:b.png", "CON.png", "b?.png", "b.png.", "b.png "})
            save({{QSize(9, 6), name}});
        QCOMPARE(disk("."), QStringList());
#endif

        for (const QString name : {"old.jpg", "old.tiff", "old.png"}) {
            save({{QSize(90, 60), name}});
            Failures::onFullDisk(2000, [&] { save({{QSize(2000, 1500), name}}); });
            QCOMPARE(QImage(path(name)).size(), QSize(90, 60));
        }
        Failures::inClosedFolder(folder->path(), [this] { save({{QSize(9, 6), "old.png"}}); });
        QCOMPARE(QImage(path("old.png")).size(), QSize(90, 60));
    }

    void askedForWhileTheThreadEnds()
    {
        Exports exports;
        for (const bool programEnds : {false, true}) {
            QFile::remove(path("a.png"));
            exports.add(QPixmap(20, 10), path("a.png"));
            while (!QFile::exists(path("a.png")))
                QThread::msleep(100);
            exports.add(QPixmap(30, 10), path("a.png"));
            if (programEnds)
                exports.finish();
            QTRY_VERIFY(!exports.saveImageThreadRunning());
            QCOMPARE(QImage(path("a.png")).width(), 30);
        }
    }

    void exportThatHangsHoldsUpNothingElse()
    {
        const qint64 usual = std::exchange(VistamoSaveImageThread::deadAfterMs, 1000);
        const auto backToUsual = qScopeGuard([=] { VistamoSaveImageThread::deadAfterMs = usual; });
        QSemaphore drive;
        Exports exports;
        const auto add = [&](const char *name, int width, const std::function<void()> &first) {
            const auto picture = [=] {
                first();
                return QImage(width, 10, QImage::Format_RGB32);
            };
            exports.add(picture, path(name), {});
        };
        const auto hang = [&] { drive.acquire(); };
        const auto encode = [] {
            const QDeadlineTimer deadline(2 * VistamoSaveImageThread::deadAfterMs);
            while (!deadline.hasExpired()) {
            }
        };
        add("hangs.png", 20, hang);
        exports.add(QPixmap(30, 10), path("hangs.png"));
        exports.add(QPixmap(40, 10), path("other.png"));
        QTRY_COMPARE(QImage(path("other.png")).width(), 40);
        exports.add(QPixmap(50, 10), path("Hangs.png"));
        drive.release();
        QTRY_VERIFY(!exports.saveImageThreadRunning());
        QCOMPARE(QImage(path("Hangs.png")).width(), 50);
        QVERIFY(isOneFile(path("hangs.png"), path("Hangs.png")) || QImage(path("hangs.png")).width() == 30);

        // Pictures for the clipboard have no path, and so none in common.
        const QSignalSpy made(&exports, &Exports::made);
        const QSignalSpy working(&exports, &Exports::working);
        exports.make([&] { return drive.acquire(), QImage(); });
        exports.make([] { return QImage(80, 10, QImage::Format_RGB32); });
        QTRY_COMPARE(made.size(), 1);
        QVERIFY(!working.isEmpty());
        for (const QList<QVariant> &told : working)
            QCOMPARE(told[0].toInt(), 0);
        drive.release();
        QTRY_VERIFY(!exports.saveImageThreadRunning());

        // Nor the end of the program, which waits for what is busy.
        add("hangs.png", 60, hang);
        add("busy.png", 70, encode);
        exports.finish();
        QCOMPARE(QImage(path("busy.png")).width(), 70);
        QVERIFY(std::exchange(StoppableThread::someLeftBehind, false));
        drive.release();
        QTRY_COMPARE(QImage(path("hangs.png")).width(), 60);
        VistamoSaveImageThread::deadAfterMs = usual;

        // A slow drive can be seen to take what comes.
        syscallLog().clear();
        exports.add(QPixmap::fromImage(Pictures::noise(QSize(2000, 2000))), path("large.png"));
        exports.finish();
        const auto flushes = syscallLog().filter("flush").size();
        QVERIFY2(flushes > 2, qPrintable(QString::number(flushes)));
    }

    void pictureMadeIsTheNewest()
    {
        Exports exports;
        QList<int> widths;
        connect(&exports, &Exports::made, this, [&](const QImage &image) { widths.append(image.width()); });
        QSignalSpy finished(&exports, &Exports::finished);
        const auto make = [&](int width) {
            exports.make([width] { return QImage(width, 9, QImage::Format_RGB32); });
        };
        make(10);
        make(20);
        QVERIFY(finished.wait(patience));
        QCOMPARE(widths, QList({20}));
        make(30);
        exports.dropMade();
        QVERIFY(finished.wait(patience));
        QCOMPARE(widths, QList({20}));
    }

private:
    void save(const QList<std::pair<QSize, QString>> &exports)
    {
        Exports all;
        for (const auto &[size, name] : exports)
            all.add(QPixmap::fromImage(Pictures::quarters(size)), path(name));
        all.finish();
    }
};

QTEST_MAIN(SaveImageThreadTest)
#include "SaveImageThreadTest.moc"
