#include "fileops/FileCopy.h"
#include "shared/platform/FileForReading.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"
#include "support/Files.h"

#include <QtTest>

#include <thread>

#ifdef Q_OS_WIN
#    include "shared/platform/NativePath.h"

#    include <windows.h>
#endif

/// Replaces, renames and removes a file that somebody has open, or that is write-protected.
class FilesInUseTest : public FolderTest
{
    Q_OBJECT

private slots:
    void readersStandInNobodysWay()
    {
        for (const Operation &operation : operations) {
            start();
            FileForReading reader(path("a.jpg"));
            QVERIFY(reader.open() && !reader.isSequential() && reader.fileName().endsWith("a.jpg"));
            QCOMPARE(reader.read(3), "was");
            QVERIFY2(run(operation), operation.name);
            QCOMPARE(reader.readAll(), " there");
            reader.close();
            QCOMPARE(state(), operation.afterwards);
        }
        FileForReading gone(path("gone.jpg"));
        QVERIFY(!gone.open() && gone.error() == QFile::OpenError);
        QVERIFY(!FileForReading(path("a.jpg")).open(QIODevice::ReadWrite));
    }

    void protectionStandsInNobodysWay()
    {
        for (const Operation &operation : operations) {
            start();
            QVERIFY(QFile::setPermissions(path("a.jpg"), QFile::ReadOwner));
            QVERIFY2(run(operation), operation.name);
            QCOMPARE(state(), operation.afterwards);
        }
    }

    void timeToWaitIsThatOfTheRun()
    {
        HeldFiles heldFiles;
        const auto attempts = [&](const HeldFiles::Outcome outcome) {
            int count = 0;
            std::thread([&] {
                const bool done = heldFiles.tryAgain([&] { return ++count, outcome; });
                QCOMPARE(done, outcome == HeldFiles::Outcome::Done);
            }).join();
            return count;
        };
        QCOMPARE(attempts(HeldFiles::Outcome::Failed), 1);
        QVERIFY(attempts(HeldFiles::Outcome::Held) > 10);
        QCOMPARE(attempts(HeldFiles::Outcome::Held), 1); // by now it is over
        QCOMPARE(attempts(HeldFiles::Outcome::Done), 1);
        int onGuiThread = 0;
        QVERIFY(!HeldFiles().tryAgain([&] { return ++onGuiThread, HeldFiles::Outcome::Held; }));
        QCOMPARE(onGuiThread, 1);
    }

#ifdef Q_OS_WIN
    void whatAnotherProgramHoldsIsWaitedFor()
    {
        for (const bool isLetGo : {true, false}) {
            for (const Operation &operation : operations) {
                start();
                const HANDLE other = CreateFileW(nativePath(path("a.jpg")).c_str(), GENERIC_READ,
                                                 FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
                QVERIFY(other != INVALID_HANDLE_VALUE);
                std::thread letGo([&] {
                    QThread::msleep(300);
                    if (isLetGo)
                        CloseHandle(other);
                });
                const bool done = run(operation);
                letGo.join();
                QVERIFY2(done == isLetGo, operation.name);
                const QStringList now = state();
                if (isLetGo)
                    QCOMPARE(now, operation.afterwards);
                else
                    CloseHandle(other);
                for (const QString &file : isLetGo ? QStringList() : before)
                    QVERIFY2(now.contains(file), operation.name); // a copy may stand beside it
                QCOMPARE(now.filter(".orrelan"), QStringList());
            }
        }
    }
#endif

private:
    struct Operation
    {
        const char *name;
        std::function<bool(FileCopy::Progress &progress)> work;
        QStringList afterwards;
    };

    void start()
    {
        if (folder) // what is write-protected does not go with it
            QFile::setPermissions(path("a.jpg"), QFile::ReadOwner | QFile::WriteOwner);
        newFolder({"to"});
        write("a.jpg", "was there");
        write("b.jpg", "new");
        QCOMPARE(state(), before);
    }
    /// Not on the thread of the user interface, which waits for nothing.
    static bool run(const Operation &operation)
    {
        FileCopy::Progress progress;
        bool done = false;
        std::thread([&] { done = operation.work(progress); }).join();
        return done;
    }
    QStringList state() const
    {
        QStringList files;
        for (const QString &name : QDir(path(".")).entryList(QDir::Files | QDir::Hidden, QDir::Name))
            files.append(name + ": " + read(name));
        for (const QString &name : QDir(path("to")).entryList(QDir::Files | QDir::Hidden))
            files.append("to/" + name + ": " + read("to/" + name));
        return files;
    }

    const QStringList before = {"a.jpg: was there", "b.jpg: new"};
    const Operation operations[6] = {
        {"replaced",
         [this](FileCopy::Progress &progress) {
             ReplacementFile file(path("a.jpg"), progress.heldFiles, ReplacementFile::Link::Replace);
             return file.create() && file.write("better") == 6 && file.commit();
         },
         {"a.jpg: better", "b.jpg: new"}},
        {"copied over",
         [this](FileCopy::Progress &progress) {
             return FileCopy::copy(path("b.jpg"), path("a.jpg"), FileCopy::Existing::Replace, progress);
         },
         {"a.jpg: new", "b.jpg: new"}},
        {"moved over",
         [this](FileCopy::Progress &progress) {
             return FileCopy::move(path("b.jpg"), path("a.jpg"), FileCopy::Existing::Replace, progress)
                    == FileCopy::Moved::Yes;
         },
         {"a.jpg: new"}},
        {"moved",
         [this](FileCopy::Progress &progress) {
             return FileCopy::move(path("a.jpg"), path("to/a.jpg"), FileCopy::Existing::Keep, progress)
                    == FileCopy::Moved::Yes;
         },
         {"b.jpg: new", "to/a.jpg: was there"}},
        {"renamed",
         [this](FileCopy::Progress &progress) {
             return Platform::renameToNew(path("a.jpg"), path("c.jpg"), progress.heldFiles);
         },
         {"b.jpg: new", "c.jpg: was there"}},
        {"removed",
         [this](FileCopy::Progress &progress) {
             return Platform::removeFile(path("a.jpg"), progress.heldFiles);
         },
         {"b.jpg: new"}},
    };
};

QTEST_MAIN(FilesInUseTest)
#include "FilesInUseTest.moc"
