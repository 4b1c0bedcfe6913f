#include "support/Program.h"

#include <atomic>
#include <string>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// A drive that does not answer any more: whoever asks the system for one of its files waits for ever. What
/// is defined below stands before the system's own, for Qt and all libraries.
namespace HangingDrive {

std::atomic<bool> hangs = false;
std::atomic<int> waiting = 0;
std::string path; ///< while it hangs
std::string askedByWindow;

/// Comes back only while the drive answers. The window's thread, which must not ask, is let through.
void ask(const char *call, const char *file)
{
    if (!hangs || !file || !QByteArrayView(file).startsWith(path))
        return;
    if (QThread::currentThread() == qApp->thread()) {
        askedByWindow += std::string(call) + ' ' + file + '\n';
        return;
    }
    ++waiting;
    while (hangs)
        usleep(1000);
    --waiting;
}

} // namespace HangingDrive

#define USUAL(call) reinterpret_cast<decltype(&call)>(dlsym(RTLD_NEXT, #call))
#define HANGING(result, call, parameters, arguments, file)                                                   \
    extern "C" result call parameters                                                                        \
    {                                                                                                        \
        HangingDrive::ask(#call, file);                                                                      \
        return USUAL(call) arguments;                                                                        \
    }
#define HANGING_OPEN(call)                                                                                   \
    extern "C" int call(const char *path, int flags, ...)                                                    \
    {                                                                                                        \
        va_list more;                                                                                        \
        va_start(more, flags);                                                                               \
        const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(more, mode_t) : 0;                        \
        va_end(more);                                                                                        \
        HangingDrive::ask(#call, path);                                                                      \
        return USUAL(call)(path, flags, mode);                                                               \
    }

HANGING_OPEN(open)
HANGING_OPEN(open64)
HANGING(DIR *, opendir, (const char *path), (path), path)
HANGING(int, stat, (const char *path, struct stat *info) noexcept, (path, info), path)
HANGING(int, stat64, (const char *path, struct stat64 *info) noexcept, (path, info), path)
HANGING(int, lstat, (const char *path, struct stat *info) noexcept, (path, info), path)
HANGING(int, lstat64, (const char *path, struct stat64 *info) noexcept, (path, info), path)
HANGING(int, statx, (int folder, const char *path, int flags, unsigned mask, struct statx *info) noexcept,
        (folder, path, flags, mask, info), path)
HANGING(int, access, (const char *path, int mode) noexcept, (path, mode), path)

class HangingDriveTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"photos", "drive/near", "drive/far"});
        Pictures::saveMany(path("photos"), 6);
        Pictures::saveMany(path("drive/near"), 40);
        Pictures::saveMany(path("drive/far"), 3);
        HangingDrive::path = path("drive").toStdString();
        HangingDrive::askedByWindow.clear();
    }

    /// The drive answers again, so that what waits for it ends before the next test.
    void cleanup()
    {
        HangingDrive::hangs = false;
        end();
        QTRY_COMPARE(HangingDrive::waiting, 0);
    }

    void aFolderThatIsChosen()
    {
        startAndHang();
        program->openFolder(1);
        QTRY_VERIFY(HangingDrive::waiting > 0);
        otherFoldersAreUsable();
    }

    void theFolderOnShow()
    {
        startAndHang();
        program->open(5);
        program->click("forwardButton");
        QTRY_VERIFY(HangingDrive::waiting > 0);
        program->click("closeButton");
        program->list()->scrollToBottom();
        program->choose(6);
        whenDialog([](QWidget *dialog) {
            QTest::qWait(200); // for its icons
            dialog->close();
        });
        program->click("deleteButton");
        whenDialog([](QWidget *menu) { menu->close(); });
        program->call("onRightMouseButtonPressEvent", Q_ARG(QPoint, QPoint(60, 60)));
        program->click("slideShowButton");
        QTest::qWait(300);
        if (auto *const show = program->window->findChild<QWidget *>("SlideShowForm"))
            QTest::keyClick(show, Qt::Key_Escape);
        program->click("showCheckboxButton"); // reads the folder again
        otherFoldersAreUsable();
    }

    void programStartsAndEnds()
    {
        HangingDrive::hangs = true;
        Program::setFolders({path("drive/near"), path("drive/far"), path("photos")});
        program = std::make_unique<Program>();
        QCOMPARE(program->tree(), QStringList({"near", "far", "photos"}));
        otherFoldersAreUsable();
    }

private:
    void startAndHang()
    {
        start({path("drive/near"), path("drive/far"), path("photos")}, 40);
        HangingDrive::hangs = true;
    }
    void otherFoldersAreUsable()
    {
        show(2, 6);
        program->open(1);
        QTRY_COMPARE(program->shown({60, 40}), QString("red green blue yellow"));
        program->click("closeButton");
        program.reset();
        QVERIFY2(HangingDrive::askedByWindow.empty(), HangingDrive::askedByWindow.c_str());
    }
};

PROGRAM_TEST_MAIN(HangingDriveTest)
#include "HangingDriveTest.moc"
