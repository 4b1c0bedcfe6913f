#include "fileops/FileCopy.h"
#include "shared/image/ImageReading.h"
#include "shared/platform/FileForReading.h"
#include "shared/platform/FolderEntries.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <thread>

#ifdef Q_OS_WIN
#    include "shared/platform/NativePath.h"
#    include "shared/platform/WindowsHandle.h"
#    include "support/SyscallLog.h"
#endif

using FileCopy::Existing;
using FileCopy::Moved;

/// Replaces, renames and removes a file that somebody has open, or that is write-protected.
class FilesInUseTest : public FolderTest
{
    Q_OBJECT

private slots:
    void readersAndProtectionStandInNobodysWay()
    {
        for (const bool isProtected : {false, true}) {
            for (const Operation &operation : operations) {
                start();
                FileForReading reader(path("a.jpg"));
                QVERIFY(reader.open() && reader.read(3) == "was");
                QVERIFY(!isProtected || QFile::setPermissions(path("a.jpg"), QFile::ReadOwner));
                QVERIFY2(run(operation), operation.name);
                QCOMPARE(reader.readAll(), " there");
                reader.close();
                QCOMPARE(state(), operation.afterwards);
            }
        }
        QVERIFY(!FileForReading(path("gone.jpg")).open());
    }

    void whatIsWrittenOrLeavesItsVolumeMayBeProtected()
    {
        start();
        HeldFiles heldFiles;
        QVERIFY(QFile::setPermissions(path("a.jpg"), QFile::ReadOwner));
        {
            ReplacementFile dropped(path("c.jpg"), heldFiles);
            QVERIFY(dropped.create(ReplacementFile::Name::Hidden));
            dropped.takeAttributes(path("a.jpg"));
        }
        QCOMPARE(state(), before);
        QTemporaryDir other(QString(QFileInfo::exists("Z:/") ? "Z:" : "") + "/dev/shm/XXXXXX");
        if (!other.isValid() || QStorageInfo(other.path()) == QStorageInfo(path(".")))
            QSKIP("there is no other volume");
        const QString moved = other.filePath("a.jpg");
        QCOMPARE(FileCopy::move(path("a.jpg"), moved, Existing::Keep, progress), Moved::Yes);
        QCOMPARE(state(), QStringList("b.jpg: new"));
        QCOMPARE(Files::read(moved), "was there");
        QVERIFY(!QFile(moved).permissions().testFlag(QFile::WriteOwner));
        QVERIFY(Platform::removeFile(moved, heldFiles));
    }

    void pathsOfAnyLength()
    {
        base = QString("folder ").repeated(12).trimmed().append('/').repeated(5);
        for (const Operation &operation : operations) {
            if (QByteArray(operation.name) == "deleted")
                continue; // the bin takes no such paths
            start();
            QVERIFY(at("a.jpg").size() > 400);
            QVERIFY2(run(operation), operation.name);
            QCOMPARE(state(), operation.afterwards);
        }
        start();
        QVERIFY(isOneFile(at("a.jpg"), at("to/../a.jpg")) && !isOneFile(at("a.jpg"), at("b.jpg")));
        QVERIFY(!Platform::isMissing(at("to")) && Platform::isMissing(at("gone")));
        Pictures::save(at("to/picture.png"), QSize(40, 20));
        QCOMPARE(folderEntries(at("to"), [] { return false; }).entries.value(0).name, "picture.png");
        QCOMPARE(ImageReading::readThumbnail(at("to/picture.png"), 10).image.size(), QSize(10, 5));
        base.clear();
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
                auto other = held("a.jpg");
                QVERIFY(other->isValid());
                const bool done = run(operation, [&] { isLetGo ? other.reset() : void(); });
                QVERIFY2(done == isLetGo, operation.name);
                const QStringList now = state();
                if (isLetGo)
                    QCOMPARE(now, operation.afterwards);
                else
                    other.reset();
                for (const QString &file : isLetGo ? QStringList() : before)
                    QVERIFY2(now.contains(file), operation.name); // a copy may stand beside it
                QCOMPARE(now.filter(".orrelan"), QStringList());
            }
        }
    }

    void whatIsNewIsWaitedForToo() // scanners look at it first
    {
        start();
        std::optional<WindowsHandle> other;
        const auto write = [&](FileCopy::Progress &progress) {
            ReplacementFile file(path("a.jpg"), progress.heldFiles);
            if (!file.create() || file.write("better") != 6 || !file.flush())
                return false;
            other.emplace(nativePath(file.fileName()), GENERIC_READ, 0, FILE_SHARE_READ | FILE_SHARE_WRITE);
            return file.commit();
        };
        QVERIFY(run({"written", write, {}}, [&] { other.reset(); }));
        QCOMPARE(state(), QStringList({"a.jpg: better", "b.jpg: new"}));
    }

    void nothingIsSetAsideThatCannotBeReplaced()
    {
        start();
        FileForReading reader(path("a.jpg"));
        QVERIFY(reader.open());
        auto other = held("b.jpg");
        syscallLog().clear();
        const auto replace = [this](FileCopy::Progress &progress) {
            return Platform::replaceFile(at("b.jpg"), at("a.jpg"), progress.heldFiles);
        };
        QVERIFY(!run({"replaced", replace, {}}));
        QCOMPARE(syscallLog().filter(".previous"), QStringList());
        other.reset();
        QCOMPARE(state(), before);
    }

    /// Somebody has the file open at the first try, and no more when it is asked who.
    void whoLetsGoAtOnceStandsInNobodysWay()
    {
        start();
        bool isDenied = true;
        beforeSyscall() = [&](const QString &) { return std::exchange(isDenied, false) ? EACCES : 0; };
        QVERIFY(Platform::renameToNew(path("a.jpg"), path("c.jpg"), progress.heldFiles));
        beforeSyscall() = nullptr;
        QVERIFY(!isDenied);
        QCOMPARE(state(), QStringList({"b.jpg: new", "c.jpg: was there"}));
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
            QFile::setPermissions(at("a.jpg"), QFile::ReadOwner | QFile::WriteOwner);
        newFolder({base + "to"});
        write(base + "a.jpg", "was there");
        write(base + "b.jpg", "new");
        QCOMPARE(state(), before);
    }
    /// Not on the thread of the user interface, which waits for nothing.
    /// @param onceHeld is called when the operation waits for the file, or has ended without
    static bool run(const Operation &operation, const std::function<void()> &onceHeld = {})
    {
        FileCopy::Progress progress;
        const int most = progress.heldFiles.leftMs();
        auto working = std::async(std::launch::async, operation.work, std::ref(progress));
        while (progress.heldFiles.leftMs() == most
               && working.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        }
        if (onceHeld)
            onceHeld();
        return working.get();
    }
#ifdef Q_OS_WIN
    /// Has a file open that others may read, and no more.
    std::unique_ptr<WindowsHandle> held(const QString &name) const
    {
        return std::make_unique<WindowsHandle>(nativePath(path(name)), GENERIC_READ, 0, FILE_SHARE_READ);
    }
#endif
    QString at(const QString &name) const
    {
        return path(base + name);
    }
    QStringList state() const
    {
        QStringList files;
        for (const QString &name : all(base))
            files.append(name + ": " + read(base + name));
        for (const QString &name : all(base + "to"))
            files.append("to/" + name + ": " + read(base + "to/" + name));
        return files;
    }

    FileCopy::Progress progress;
    QString base; ///< the folder of the files, with a slash
    const QStringList before = {"a.jpg: was there", "b.jpg: new"};
    const QList<Operation> operations = {
        {"replaced",
         [this](FileCopy::Progress &progress) {
             ReplacementFile file(at("a.jpg"), progress.heldFiles, ReplacementFile::Link::Replace);
             return file.create() && file.write("better") == 6 && file.commit();
         },
         {"a.jpg: better", "b.jpg: new"}},
        {"copied over",
         [this](FileCopy::Progress &progress) {
             return FileCopy::copy(at("b.jpg"), at("a.jpg"), Existing::Replace, progress);
         },
         {"a.jpg: new", "b.jpg: new"}},
        {"moved over",
         [this](FileCopy::Progress &progress) {
             return FileCopy::move(at("b.jpg"), at("a.jpg"), Existing::Replace, progress) == Moved::Yes;
         },
         {"a.jpg: new"}},
        {"moved",
         [this](FileCopy::Progress &progress) {
             return FileCopy::move(at("a.jpg"), at("to/a.jpg"), Existing::Keep, progress) == Moved::Yes;
         },
         {"b.jpg: new", "to/a.jpg: was there"}},
        {"renamed",
         [this](FileCopy::Progress &progress) {
             return Platform::renameToNew(at("a.jpg"), at("c.jpg"), progress.heldFiles);
         },
         {"b.jpg: new", "c.jpg: was there"}},
        {"removed",
         [this](FileCopy::Progress &progress) {
             return Platform::removeFile(at("a.jpg"), progress.heldFiles);
         },
         {"b.jpg: new"}},
#ifdef Q_OS_WIN
        {"deleted",
         [this](FileCopy::Progress &progress) { return FileCopy::moveToTrash(at("a.jpg"), progress); },
         {"b.jpg: new"}},
#endif
    };
};

QTEST_MAIN(FilesInUseTest)
#include "FilesInUseTest.moc"
