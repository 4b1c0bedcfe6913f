#include "fileops/FileCopy.h"
#include "support/Failures.h"
#include "support/Files.h"

#ifdef Q_OS_WIN
#    include <shellapi.h>
#else
#    include <sys/stat.h>
#endif

/// What the trash takes, where it keeps it, and that nothing is lost where it takes nothing.
class TrashTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder({"photos"}); }

    void filesOfTheHomeVolume()
    {
        QStringList names = {".hidden", "100% \u00fc\u5199 b.jpg", "read-only.jpg"};
#ifdef Q_OS_WIN
        const qint64 before = inBin();
#else
        names += {"line\nfeed.jpg", QString(123, u'ü') + "写.jpg", QString(249, 'n') + ".jpeg"};
#endif
        for (int round = 0; round < 2; ++round) { // a name may go there twice
            for (const QString &name : names) {
                const QString file = path("photos/" + name);
                QVERIFY(Files::write(file, name.toUtf8()));
                if (name.startsWith("read-only"))
                    QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
                QVERIFY2(FileCopy::moveToTrash(file, progress) && !QFile::exists(file), qPrintable(name));
            }
        }
#ifdef Q_OS_WIN
        QCOMPARE(inBin(), before + 2 * names.size());
    }
#else
        const QStringList infos = found(home);
        QCOMPARE(infos.size(), 2 * names.size());
        for (const QString &name : names)
            QCOMPARE(infos.count(path("photos/" + name) + ": " + name), 2);
        struct stat info = {};
        QVERIFY(stat(qPrintable(home), &info) == 0 && (info.st_mode & 0777) == S_IRWXU);
    }

    void filesOfAnotherVolume()
    {
        QTemporaryDir other("/dev/shm/trash-XXXXXX");
        const QString top = QStorageInfo(other.path()).rootPath();
        if (!other.isValid() || top == QStorageInfo(home).rootPath())
            QSKIP("There is no other volume.");
        const QString own = QStringLiteral("%1/.Trash-%2").arg(top).arg(geteuid());
        const QString common = top + "/.Trash";
        if (QFileInfo::exists(own) || QFileInfo::exists(common))
            QSKIP("The other volume has a trash.");
        const QString file = other.path() + "/ü.jpg";
        const QString relative = file.mid(top.size() + 1) + ": x";
        const auto trash = [&] { return Files::write(file, "x") && FileCopy::moveToTrash(file, progress); };
        QVERIFY(trash());
        QCOMPARE(found(own), QStringList(relative));
        QVERIFY(QDir(own).removeRecursively());

        // One for all counts if nobody can take away another's files.
        for (const int sticky : {0, S_ISVTX}) {
            QVERIFY(mkdir(qPrintable(common), 0777) == 0 && chmod(qPrintable(common), 0777 | sticky) == 0);
            QVERIFY(trash());
            const QString taken = sticky ? QStringLiteral("%1/%2").arg(common).arg(geteuid()) : own;
            QCOMPARE(found(taken), QStringList(relative));
            QVERIFY(QDir(common).removeRecursively() && QDir(own).removeRecursively());
        }

        // Where it can have none, the home's takes a copy, complete or not at all.
        QVERIFY(Files::write(own, "in the way"));
        QVERIFY(trash());
        QVERIFY(!QFile::exists(file));
        QCOMPARE(found(home).filter(file), QStringList(file + ": x"));
        const QStringList before = found(home);
        progress.cancelled = true;
        QVERIFY(!trash());
        QVERIFY(QFile::remove(own));
        QCOMPARE(Files::read(file), "x");
        QCOMPARE(found(home), before);
    }

    void fileStaysWhereNothingTakesIt()
    {
        write("photos/a.jpg", "the picture");
        Failures::giveToNobody({home + "/files", home + "/info", home, path("."), path("photos")});
        const QStringList before = found(home);
        const auto stays = [&] {
            QVERIFY(!FileCopy::moveToTrash(path("photos/a.jpg"), progress));
            QCOMPARE(read("photos/a.jpg"), "the picture");
        };
        Failures::onFullDisk(0, [&] { Failures::asNobody(stays); });
        QCOMPARE(found(home), before);
        Failures::inClosedFolder(path("photos"), stays); // as on a write-protected card
        QVERIFY(QDir(home).rename("info", "gone"));
        Failures::inClosedFolder(home, stays); // a trash of somebody else
    }

#endif

private:
#ifdef Q_OS_WIN
    /// The number of things in the bin of the test's volume.
    qint64 inBin() const
    {
        SHQUERYRBINFO bin = {};
        bin.cbSize = sizeof(bin);
        const QString root = folder->path().left(3);
        return SUCCEEDED(SHQueryRecycleBinW(root.toStdWString().c_str(), &bin)) ? bin.i64NumItems : -1;
    }
#else
    /// What a trash tells of: "PATH: CONTENT". A folder that lacks either does not count.
    static QStringList found(const QString &trash)
    {
        QStringList files;
        for (const QString &name : QDir(trash + "/files").entryList(QDir::Files | QDir::Hidden)) {
            QStringList info = QString(Files::read(trash + "/info/" + name + ".trashinfo")).split('\n');
            if (info.value(0) == "[Trash Info]" && info.value(1).startsWith("Path=")
                && QDateTime::fromString(info.value(2), "'DeletionDate='yyyy-MM-ddThh:mm:ss").isValid())
                files.append(QUrl::fromPercentEncoding(info[1].mid(5).toLatin1()) + ": "
                             + Files::read(trash + "/files/" + name));
        }
        return files.size() == QDir(trash + "/info").entryList(QDir::Files | QDir::Hidden).size()
                   ? files
                   : QStringList("leftovers");
    }

    const QString home = qEnvironmentVariable("XDG_DATA_HOME") + "/Trash";
#endif

    FileCopy::Progress progress;
};

QTEST_MAIN(TrashTest)
#include "TrashTest.moc"
