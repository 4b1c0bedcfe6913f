#include "support/Failures.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "viewer/Exports.h"

#include <QtGui>
#include <QtTest>

/// Exports: a file is complete or it isn't there.
class SaveImageThreadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder({"folder.png"}); }
    void cleanup()
    {
        QFile::setPermissions(folder->path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(QDir(folder->path()).entryList({".orrelan*"}, QDir::Files | QDir::Hidden), QStringList());
    }

    void formatsByName()
    {
        for (const char *const name : {"a.png", "a.JPG", "a.tiff", "a.gif", "line\nfeed \"%20\".png"}) {
            save({{QSize(90, 60), name}});
            QImageReader reader(path(name));
            QCOMPARE(Pictures::quartersOf(reader.read()), "red green blue yellow");
            QVERIFY(QString(name).endsWith(reader.format() == "jpeg" ? "JPG" : reader.format()));
        }
        QVERIFY(read("a.JPG").contains("\xff\xc2")); // progressive
        save({{QSize(9, 6), "no suffix"}, {QSize(9, 6), "a.nonsense"}, {QSize(), "null.png"}});
        QCOMPARE(QDir(folder->path()).entryList(QDir::Files).size(), 5);

        // Transparency lies on white.
        QPixmap half(90, 60);
        half.fill(QColor(30, 60, 220, 128));
        Exports all;
        for (const char *const name : {"a.JPG", "a.gif"}) {
            all.add(half, path(name));
            all.finish();
            QVERIFY2(std::abs(QImage(path(name)).pixelColor(9, 9).red() - 142) < 4, name);
        }
    }

    void laterPictureStays()
    {
        const QString name = QString(251, 'n') + ".png"; // as long as a name can be
        save({{QSize(90, 60), name}, {QSize(30, 20), name}});
        QCOMPARE(QImage(path(name)).size(), QSize(30, 20));

        // Through a link, which stays one, and with the permissions of the old file.
        QFile::setPermissions(path(name), QFile::ReadOwner | QFile::WriteOwner);
        QVERIFY(QFile::link(path(name), path("link.png")));
        save({{QSize(50, 40), "link.png"}});
        QVERIFY(QFileInfo(path("link.png")).isSymLink());
        QCOMPARE(QImage(path(name)).size(), QSize(50, 40));
        QVERIFY(!QFileInfo(path(name)).permission(QFile::ReadGroup));
    }

    void failuresLeaveTheOldFile()
    {
        save({{QSize(9, 6), "folder.png"}, {QSize(9, 6), "gone/a.png"}});
        QVERIFY(QFileInfo(path("folder.png")).isDir());

        const auto saveAll = [this](QSize size) {
            save({{size, "old.png"}, {size, "old.jpg"}, {size, "old.tiff"}});
        };
        saveAll(QSize(90, 60));
        Failures::onFullDisk(2000, [&] { saveAll(QSize(2000, 1500)); });
        for (const char *const name : {"old.png", "old.jpg", "old.tiff"})
            QCOMPARE(QImage(path(name)).size(), QSize(90, 60));

        QFile::setPermissions(folder->path(), QFile::ReadOwner | QFile::ExeOwner);
        Failures::asNobody([this] { save({{QSize(9, 6), "old.png"}}); });
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
        QVERIFY(finished.wait());
        QCOMPARE(widths, QList({20}));
        make(30);
        exports.dropMade();
        QVERIFY(finished.wait());
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
