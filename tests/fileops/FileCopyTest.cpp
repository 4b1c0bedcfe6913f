#include "fileops/FileCopy.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/platform/ReplacementFile.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/SyscallLog.h"

#include <cstring>
#include <thread>

#ifndef Q_OS_WIN
#    include <sys/stat.h>
#    include <sys/xattr.h>
#endif

using FileCopy::Existing;
using FileCopy::Moved;

static bool timesCanBeSet = true;
static bool oneTimeCanBeSet = true; ///< without the other; some file systems do nothing and report no error

#ifdef Q_OS_WIN

// What copies have of a write-protected, private file.
constexpr QFile::Permissions denied = QFile::WriteOwner;

/// What lies below "again" seems to be on another volume.
static const decltype(&GetFileInformationByHandle) usualInformation =
    Imports::replace<decltype(&GetFileInformationByHandle)>(
        "GetFileInformationByHandle", [](HANDLE file, BY_HANDLE_FILE_INFORMATION *information) -> BOOL {
            const BOOL known = usualInformation(file, information);
            information->dwVolumeSerialNumber += plain(file).contains("/again/");
            return known;
        });

static const decltype(&SetFileTime) usualTimes = Imports::replace<decltype(&SetFileTime)>(
    "SetFileTime",
    [](HANDLE file, const FILETIME *creation, const FILETIME *access, const FILETIME *change) -> BOOL {
        return timesCanBeSet && usualTimes(file, creation, access, change);
    });

/// Gives a file something that belongs to it beside its content. False where its file system takes nothing.
static bool tag(const QString &file)
{
    WIN32_FIND_STREAM_DATA content = {};
    const HANDLE streams = FindFirstStreamW(file.toStdWString().c_str(), FindStreamInfoStandard, &content, 0);
    FindClose(streams);
    if (streams == INVALID_HANDLE_VALUE)
        qWarning("Left out: further streams of a file, of which Wine knows none.");
    return streams != INVALID_HANDLE_VALUE && Files::write(file + ":tag", "sea");
}

static bool isTagged(const QString &file)
{
    return Files::read(file + ":tag") == "sea";
}

#else

constexpr QFile::Permissions denied = QFile::WriteOwner | QFile::ReadGroup;

/// In the C library's place: what lies below "again" seems to be on another device.
extern "C" int stat(const char *path, struct stat *info) noexcept
{
    const int result = reinterpret_cast<decltype(&stat)>(dlsym(RTLD_NEXT, "stat"))(path, info);
    info->st_dev += std::strstr(path, "/again/") != nullptr;
    return result;
}

extern "C" int futimens(int file, const timespec times[2]) noexcept
{
    if (!oneTimeCanBeSet && (times[0].tv_nsec == UTIME_OMIT || times[1].tv_nsec == UTIME_OMIT))
        return 0;
    errno = EPERM;
    return timesCanBeSet ? reinterpret_cast<decltype(&futimens)>(dlsym(RTLD_NEXT, "futimens"))(file, times)
                         : -1;
}

static int partsLeft = -1; ///< that the system copies by itself; below 0: all

extern "C" ssize_t copy_file_range(int from, off64_t *read, int to, off64_t *written, size_t most,
                                   unsigned flags)
{
    if (partsLeft == 0)
        return errno = EIO, -1;
    --partsLeft;
    return reinterpret_cast<decltype(&copy_file_range)>(dlsym(RTLD_NEXT, "copy_file_range"))(
        from, read, to, written, most, flags);
}

static bool tag(const QString &file)
{
    return setxattr(qPrintable(file), "user.tag", "sea", 3, 0) == 0;
}

static bool isTagged(const QString &file)
{
    char tag[8] = {};
    return getxattr(qPrintable(file), "user.tag", tag, sizeof(tag)) == 3;
}

#endif

/// Copies with every step failing: a file is complete in its old place, in its new place, or in both.
class FileCopyTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"to"});
        write("a.jpg", "the picture");
        write("to/old.jpg", "what was there");
    }

    void cleanup()
    {
        beforeSyscall() = nullptr;
        timesCanBeSet = oneTimeCanBeSet = true;
        QFile::setPermissions(path("to"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(leftovers().size(), 0);
    }

#ifdef Q_OS_LINUX
    void goesTheSystemsOwnWayAsFarAsThatGoes()
    {
        const QByteArray large = QByteArray("first").leftJustified(1'500'000, ' ') + "last";
        write("large.jpg", large);
        for (const int parts : {0, 1, -1}) {
            partsLeft = parts;
            QVERIFY(copy("large.jpg", QStringLiteral("to/%1.jpg").arg(parts)));
            QVERIFY(read(QStringLiteral("to/%1.jpg").arg(parts)) == large);
        }
    }
#endif

    void goesAcrossWithItsTime()
    {
        const QDateTime time(QDate(2001, 2, 3), QTime(4, 5, 6));
        setTime("a.jpg", time);
        const bool hasTags = tag(path("a.jpg"));
        Failures::giveToNobody({path("."), path("to"), path("a.jpg")});
        QFile::setPermissions(path("a.jpg"), QFile::ReadOwner);
        oneTimeCanBeSet = false;
        const QString longName = "to/" + QString(251, 'n') + ".jpg";
        for (const QString &target : {QString("to/a.jpg"), longName}) {
            Failures::asNobody([&] { QVERIFY(copy("a.jpg", target)); });
            QVERIFY(!hasTags || isTagged(path(target)));
            QCOMPARE(read(target), "the picture");
            QCOMPARE(QFileInfo(path(target)).lastModified(), time);
            QVERIFY(!(QFile::permissions(path(target)) & denied));
        }
        QVERIFY(!copy("a.jpg", "to/a.jpg"));
        QVERIFY(!copy("a.jpg", "to/old.jpg"));
        QVERIFY(!copy("a.jpg", "to/nothing.jpg", Existing::Replace));
        QFile::setPermissions(path("to/old.jpg"), QFile::ReadOwner | QFile::ReadGroup);
        QVERIFY(copy("a.jpg", "to/old.jpg", Existing::Replace));
        QCOMPARE(read("to/old.jpg"), "the picture");
        QVERIFY(!(QFile::permissions(path("to/old.jpg")) & denied));
    }

    void neverOntoItself()
    {
        const bool hasLinks = Files::link(path("a.jpg"), path("to/link.jpg"));
        Files::hardLink(path("a.jpg"), path("to/hard.jpg"));
        for (const char *const target : {"a.jpg", "to/link.jpg", "to/hard.jpg", "to/../a.jpg"}) {
            QVERIFY(!copy("a.jpg", target, Existing::Replace));
            QCOMPARE(move("a.jpg", target, Existing::Replace), Moved::No);
            QCOMPARE(read("a.jpg"), "the picture");
        }
        if (!hasLinks)
            return;
        // Nor by a second mount of its folder.
        QVERIFY(Files::link(path("."), path("again")));
        QVERIFY(!copy("a.jpg", "again/a.jpg", Existing::Replace));
        QCOMPARE(leftovers().size(), 0);
        // A link to something else is replaced itself, one to nothing is in the way.
        QVERIFY(Files::link(path("to/old.jpg"), path("other.jpg")));
        QVERIFY(copy("a.jpg", "other.jpg", Existing::Replace));
        QCOMPARE(read("to/old.jpg"), "what was there");
        QVERIFY(Files::link(path("gone"), path("to/dangling.jpg")));
        QVERIFY(!copy("a.jpg", "to/dangling.jpg"));
        QVERIFY(copy("a.jpg", "to/dangling.jpg", Existing::Replace));
        QVERIFY(!QFileInfo(path("to/dangling.jpg")).isSymLink());
        QVERIFY(!QFile::exists(path("gone")));
    }

    void failuresLeaveBothAsTheyWere()
    {
        const auto check = [&] {
            QVERIFY(!copy("a.jpg", "to/new.jpg"));
            QVERIFY(!copy("a.jpg", "to/old.jpg", Existing::Replace));
            QVERIFY(!QFile::exists(path("to/new.jpg")));
        };
        Failures::giveToNobody({path("."), path("to"), path("a.jpg")});
        Failures::inClosedFolder(path("to"), [&] {
            QVERIFY(!copy("a.jpg", "to/old.jpg", Existing::Replace));
            if (!Failures::permissionsCount)
                return qWarning("Left out: a folder that may not be written, which permissions do not stop.");
            QVERIFY(!copy("a.jpg", "to/new.jpg"));
        });
        Failures::onUnreadableFile(path("a.jpg"), check);

        write("a.jpg", QByteArray(3'000'000, 'x'));
        Failures::onFullDisk(1'500'000, check); // in the middle of the file
        QVERIFY(!copy("gone.jpg", "to/old.jpg", Existing::Replace));
        QVERIFY(!copy("a.jpg", "vanished/a.jpg"));
        QVERIFY(!copy("to", "to2"));
        QCOMPARE(read("to/old.jpg"), "what was there");

        // Cancelled, or changed, while it is read.
        write("a.jpg", QByteArray(200'000'000, 'x'));
        for (const bool cancel : {true, false}) {
            FileCopy::Progress progress;
            std::thread other([&] {
                while (progress.done == 0)
                    std::this_thread::yield();
                if (cancel)
                    progress.cancelled = true;
                else
                    QVERIFY(QFile::resize(path("a.jpg"), 150'000'000));
            });
            QVERIFY(!FileCopy::copy(path("a.jpg"), path("to/old.jpg"), Existing::Replace, progress));
            other.join();
        }
        QCOMPARE(read("to/old.jpg"), "what was there");
    }

    void movedWithAllThatBelongsToIt()
    {
        const bool hasTags = tag(path("a.jpg"));
        Files::hardLink(path("a.jpg"), path("same.jpg"));
        QCOMPARE(move("a.jpg", "to/old.jpg"), Moved::No);
        QCOMPARE(move("a.jpg", "to/old.jpg", Existing::Replace), Moved::Yes);
        QVERIFY(isOneFile(path("to/old.jpg"), path("same.jpg")));
        QCOMPARE(move("to/old.jpg", "a.jpg"), Moved::Yes);
        QVERIFY(QFile::remove(path("same.jpg")));
        if (Files::link("a.jpg", path("link.jpg"))) { // which would point to nothing from there
            QCOMPARE(move("link.jpg", "to/link.jpg"), Moved::Yes);
            QCOMPARE(read("to/link.jpg"), "the picture");
        }

        // To another file system, where times cannot be set. What changes or is cancelled meanwhile stays.
        const std::pair<std::function<void()>, Moved> cases[] = {
            {[&] { write("a.jpg", "another picture"); }, Moved::Copied},
            {[&] { progress.cancelled = true; }, Moved::Copied},
            {[] {}, Moved::Yes}};
        for (const auto &[meanwhile, moved] : cases) {
            write("a.jpg", "the picture");
            timesCanBeSet = true;
            setTime("a.jpg", QDateTime(QDate(2001, 2, 3), QTime(4, 5, 6)));
            timesCanBeSet = false;
            beforeSyscall() = [&, &meanwhile = meanwhile](const QString &call) {
                if (!crossesVolumes(call) && call.endsWith("/to/new.jpg"))
                    meanwhile();
                return crossesVolumes(call);
            };
            QCOMPARE(move("a.jpg", "to/new.jpg"), moved);
            QCOMPARE(QFile::exists(path("a.jpg")), moved == Moved::Copied);
            QVERIFY(!hasTags || isTagged(path("to/new.jpg")));
            QCOMPARE(read("to/new.jpg"), "the picture");
            QVERIFY(QFile::remove(path("to/new.jpg")));
        }
    }

    void isOnTheDiskBeforeItHasItsNameAndTheSourceGoes()
    {
        QVERIFY(copy("a.jpg", "to/first.jpg"));
        for (const QString target : {"to/old.jpg", "to/new.jpg"}) {
            write("a.jpg", "the picture");
            syscallLog().clear();
            beforeSyscall() = crossesVolumes;
            QCOMPARE(move("a.jpg", target, target == "to/new.jpg" ? Existing::Keep : Existing::Replace),
                     Moved::Yes);
            QStringList calls = QStringList(syscallLog()).replaceInStrings(folder->path() + '/', QString());
            // Without a name until it is complete, where the file system has that.
            calls.replaceInStrings(QRegularExpression("\\.orrelan-\\w+|#\\d+ \\(deleted\\)"), QString());
            calls.replaceInStrings(QRegularExpression("^flush to/$"), "flush to/.tmp");
            calls.removeAll("link to/.tmp");
            QStringList expected = {"rename a.jpg " + target, "flush to/.tmp", "rename to/.tmp " + target,
                                    "flush to", "remove a.jpg"};
            if (!onUnix)
                expected.removeAll("flush to"); // names are in the file system's log
            QCOMPARE(calls, expected);
        }
        write("a.jpg", "the picture");
        for (const int error : {EINVAL, EIO}) { // some file systems of Unix do not know it; failed
            beforeSyscall() = [=](const QString &call) { return call.startsWith("flush") ? error : 0; };
            QCOMPARE(copy("a.jpg", "to/other.jpg"), error == EINVAL && onUnix);
            QFile::remove(path("to/other.jpg"));
        }
        // Files that could do without a name at first, but not have one later.
        beforeSyscall() = [](const QString &call) { return call.startsWith("link") ? EOPNOTSUPP : 0; };
        QVERIFY(copy("a.jpg", "b.jpg"));
    }

    void whatAKilledCopyLeavesGoesADayLater()
    {
        for (const QString name : {".orrelan-0123abcd.tmp", "orrelan-0123abcd.tmp", ".orrelan-1.tmp"})
            write("to/" + name, "left");
        const QDateTime now = QDateTime::currentDateTime();
        ReplacementFile::sweep(path("to"), now.addSecs(23 * 60 * 60));
        QVERIFY(leftovers().contains(".orrelan-0123abcd.tmp"));
        {
            HeldFiles noneHeld(0);
            ReplacementFile atWork(path("to/slow.jpg"), noneHeld);
            QVERIFY(atWork.create(ReplacementFile::Name::Hidden));
            ReplacementFile::sweep(path("to"), now.addDays(2));
            QCOMPARE(leftovers().size(), 2);
        }
        QCOMPARE(leftovers(), QStringList(".orrelan-1.tmp"));
        QCOMPARE(disk("to"), QStringList({"old.jpg", "orrelan-0123abcd.tmp"}));
        QVERIFY(QFile::remove(path("to/.orrelan-1.tmp")));
    }

private:
    /// The error of a rename between what seems to be two file systems.
    static int crossesVolumes(const QString &call)
    {
        return call.startsWith("rename") && !call.contains(".orrelan") ? EXDEV : 0;
    }
    Moved move(const QString &source, const QString &target, Existing existing = Existing::Keep)
    {
        progress.cancelled = false;
        return FileCopy::move(path(source), path(target), existing, progress);
    }
    bool copy(const QString &source, const QString &target, Existing existing = Existing::Keep) const
    {
        FileCopy::Progress progress;
        return FileCopy::copy(path(source), path(target), existing, progress);
    }
    void setTime(const QString &name, const QDateTime &time) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(time, QFile::FileModificationTime));
    }
    QStringList leftovers() const
    {
        return all("to", {".orrelan*"});
    }

    const bool onUnix = QDir::separator() == '/';
    FileCopy::Progress progress;
};

QTEST_GUILESS_MAIN(FileCopyTest)
#include "FileCopyTest.moc"
