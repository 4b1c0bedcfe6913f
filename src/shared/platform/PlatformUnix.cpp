#include "shared/platform/Platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <limits>
#include <utility>

#include <csignal>
#include <ctime>
#include <fcntl.h>
#ifdef __GLIBC__
#    include <malloc.h>
#endif
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr qint64 unlimited = std::numeric_limits<qint64>::max();

/// The number in a control group's limit file; no limit for "max", a missing file or nonsense.
qint64 limitInFile(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return unlimited;
    bool isNumber = false;
    const qint64 limit = file.readLine().trimmed().toLongLong(&isNumber);
    return isNumber && limit > 0 ? limit : unlimited;
}

/// The least limit of the process's memory control group and of all above it, for both generations.
qint64 controlGroupLimit()
{
    QFile file(QStringLiteral("/proc/self/cgroup"));
    if (!file.open(QIODevice::ReadOnly))
        return unlimited;

    qint64 limit = unlimited;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        // hierarchy number:controllers:path, the second generation having no controllers
        const QList<QByteArray> fields = line.split(':');
        if (fields.size() != 3)
            continue;
        const bool second = fields[1].isEmpty();
        if (!second && !fields[1].split(',').contains("memory"))
            continue;
        const QString root =
            second ? QStringLiteral("/sys/fs/cgroup") : QStringLiteral("/sys/fs/cgroup/memory");
        const QString name =
            second ? QStringLiteral("/memory.max") : QStringLiteral("/memory.limit_in_bytes");
        QString group = QFile::decodeName(fields[2]);
        while (!group.isEmpty()) {
            limit = std::min(limit, limitInFile(root + group + name));
            group.truncate(group.lastIndexOf(QLatin1Char('/')));
        }
        limit = std::min(limit, limitInFile(root + name));
    }
    return limit;
}

qint64 resourceLimit(decltype(RLIMIT_AS) resource)
{
    rlimit limit = {};
    if (getrlimit(resource, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return unlimited;
    return static_cast<qint64>(std::min<rlim_t>(limit.rlim_cur, unlimited));
}

int askedToEnd = -1; ///< the end of a pipe, since a signal's handler may do next to nothing but write

constexpr std::array crashes = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
std::array<struct sigaction, crashes.size()> actionsBefore;
void (*markOfCrash)() = nullptr;

/// What faulted does so once more when this returns.
void onCrash(int signal, siginfo_t *what, void * /*context*/)
{
    markOfCrash();
    for (std::size_t i = 0; i < crashes.size(); ++i)
        sigaction(crashes[i], &actionsBefore[i], nullptr);
    if (what->si_code <= 0) // somebody sent it
        raise(signal);
}

} // namespace

qint64 Platform::usableMemory()
{
    const qint64 machine = static_cast<qint64>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGE_SIZE);
    return std::min({machine, controlGroupLimit(), resourceLimit(RLIMIT_AS), resourceLimit(RLIMIT_DATA)});
}

qint64 Platform::usedMemory()
{
    qint64 mapped = 0;
    qint64 inMemory = 0;
    qint64 ofFiles = 0; // which the system takes back when it needs them
    std::ifstream("/proc/self/statm") >> mapped >> inMemory >> ofFiles; // pages
    return (inMemory - ofFiles) * sysconf(_SC_PAGE_SIZE);
}

qint64 Platform::processorTime()
{
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return used.tv_sec * 1000LL + used.tv_nsec / 1'000'000;
}

double Platform::threadProcessorTime()
{
    timespec used = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

bool Platform::isMountPlace(const QString &path)
{
    // Where desktops mount what is plugged in.
    static const QRegularExpression places(
        QStringLiteral("^/(media(/[^/]+)?|run/media/[^/]+|mnt|Volumes)/[^/]+/?$"));
    return places.match(path).hasMatch();
}

void Platform::useLargePages([[maybe_unused]] void *memory, [[maybe_unused]] size_t bytes)
{
#ifdef MADV_HUGEPAGE
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t skipped = (page - reinterpret_cast<uintptr_t>(memory) % page) % page;
    if (bytes > skipped)
        madvise(static_cast<char *>(memory) + skipped, bytes - skipped, MADV_HUGEPAGE);
#endif
}

void Platform::returnFreedMemory()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

void Platform::returnLargeBlocksAtOnce()
{
#ifdef __GLIBC__
    // Unless it is set the threshold grows with the blocks that are freed, up to 32 MB, and their holes are
    // kept.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
}

void Platform::whenAskedToEnd(const std::function<void()> &end)
{
    int ends[2] = {};
    if (pipe(ends) != 0)
        return;
    for (const int file : ends)
        fcntl(file, F_SETFD, FD_CLOEXEC);
    askedToEnd = ends[1];
    auto *const notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, [=] {
        notifier->setEnabled(false);
        end();
    });
    struct sigaction ask = {};
    ask.sa_handler = [](int) {
        const int before = errno;
        [[maybe_unused]] const auto written = write(askedToEnd, "", 1);
        errno = before;
    };
    ask.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &ask, nullptr);
    }
}

std::shared_ptr<void> Platform::followDarkDesktop()
{
    return {};
}

void Platform::whenCrashing(void (*mark)())
{
    if (std::exchange(markOfCrash, mark))
        return;
    struct sigaction action = {};
    action.sa_sigaction = onCrash;
    action.sa_flags = SA_SIGINFO;
    for (std::size_t i = 0; i < crashes.size(); ++i)
        sigaction(crashes[i], &action, &actionsBefore[i]);
}

void Platform::lowerThreadPriority()
{
#ifdef Q_OS_LINUX
    constexpr int nice = 10;
    setpriority(PRIO_PROCESS, gettid(), nice); // of a thread, unlike what POSIX says
#endif
}
