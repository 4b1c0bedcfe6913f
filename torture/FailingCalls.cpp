#include "CallFailures.h"

#include "batch/BatchRun.h"
#include "fileops/FileCopy.h"
#include "library/ThumbnailDatabase.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "viewer/VistamoSaveImageThread.h"

#include <QBuffer>
#include <QDirIterator>
#include <QGuiApplication>
#include <QMap>
#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStorageInfo>
#include <QtDebug>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <new>
#include <thread>

#include <sys/mman.h>
#include <sys/wait.h>

/// Does all that the program does to files, and lets each of its calls to the system fail in turn, in every
/// way, or kills it there.
///
///     FailingCalls [EVERY [NAME]]       every so many cases, all unless named; of one piece of work
///     FailingCalls --kills COUNT [SEED] kills so many pieces of work at random moments instead
///
/// Afterwards each file has to be whole, old or new, in its old or its new place, and what is said to be done
/// has to be done. It ends with 1 where something was wrong.
namespace {

using CallFailures::Plan;
using Existing = FileCopy::Existing;

constexpr int errors[] = {ENOSPC, EIO, EACCES, EXDEV, EROFS, EINVAL};
constexpr unsigned longestSeconds = 60; ///< of a piece of work that takes milliseconds

using Contents = QMap<QString, QByteArray>;

/// A piece of work on files of a folder, and of another one on a second disk.
struct Work
{
    QString name;
    Contents before; ///< what is there, by paths below the folders
    std::function<bool()> run;
    Contents after;            ///< what is there when it is done; empty for a new file
    QStringList goes = {};     ///< what is elsewhere then
    QStringList replaced = {}; ///< what need not be anywhere, once the new file stands in its place
    std::function<bool(const QByteArray &)> isNewFile = [](const QByteArray &) { return false; };
};

std::unique_ptr<QTemporaryDir> folder;
std::unique_ptr<QTemporaryDir> otherDisk;
QStringList trashes; ///< of both disks, besides the home's; none if they have been there before

/// All that the test looks at and clears.
QStringList roots()
{
    return QStringList{folder->path(), otherDisk->path()} + trashes;
}

bool isOurs(const char *path)
{
    static const QStringList all = roots();
    return std::any_of(all.begin(), all.end(), [path](const QString &root) {
        return QByteArrayView(path).startsWith(QFile::encodeName(root));
    });
}

QString here(const QString &path)
{
    return folder->filePath(path);
}
QString there(const QString &path)
{
    return otherDisk->filePath(path);
}

void clear()
{
    for (const QString &root : {folder->path(), otherDisk->path()}) {
        QDirIterator entries(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        while (entries.hasNext()) {
            const QFileInfo entry(entries.next());
            if (entry.isDir() && !entry.isSymLink())
                QDir(entry.filePath()).removeRecursively();
            else
                QFile::remove(entry.filePath());
        }
    }
    for (const QString &trash : trashes)
        QDir(trash).removeRecursively();
}

/// All files, but the notes of the trash and those of the database.
Contents found()
{
    Contents contents;
    for (const QString &root : roots()) {
        QDirIterator files(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            if (!path.contains(QLatin1String("/Trash/info/")) && !path.contains(QLatin1String("/info/"))
                && !path.contains(QLatin1String("thumbnail")))
                contents.insert(path, Files::read(path));
        }
    }
    return contents;
}

bool isTemporary(const QString &path)
{
    return QFileInfo(path).fileName().startsWith(QLatin1String(".orrelan-"));
}

/// What is wrong after a piece of work; empty for nothing.
QString fault(const Work &work, bool done, const Plan &plan)
{
    const Contents now = found();
    QList<QByteArray> whole;
    QList<QByteArray> known = work.before.values() + work.after.values();
    known.removeAll(QByteArray()); // of a new file
    for (auto file = now.cbegin(); file != now.cend(); ++file) {
        if (isTemporary(file.key()))
            continue;
        whole.append(*file);
        if (!known.contains(*file) && !work.isNewFile(*file))
            return QStringLiteral("%1 is half written, %2 bytes").arg(file.key()).arg(file->size());
    }
    for (auto file = work.before.cbegin(); file != work.before.cend(); ++file) {
        const QByteArray inPlace = now.value(file.key());
        const bool isReplaced =
            work.replaced.contains(file.key())
            && (work.isNewFile(inPlace)
                || (work.after.contains(file.key()) && inPlace == work.after[file.key()]));
        if (!isReplaced && !whole.contains(*file))
            return QStringLiteral("%1 is lost").arg(file.key());
    }
    if (!done)
        return {};
    for (auto file = work.after.cbegin(); file != work.after.cend(); ++file) {
        if (file->isEmpty() ? !work.isNewFile(now.value(file.key())) : now.value(file.key()) != *file)
            return QStringLiteral("%1 is not there, though all is said to be done").arg(file.key());
    }
    for (const QString &path : work.goes) {
        if (now.contains(path))
            return QStringLiteral("%1 is still there, though all is said to be done").arg(path);
    }
    const bool mayStay = plan.kind == Plan::FailFrom || QByteArray(CallFailures::report->failed) == "unlink";
    for (const QString &path : now.keys()) {
        if (isTemporary(path) && !mayStay)
            return QStringLiteral("%1 stays").arg(path);
    }
    return {};
}

void prepare(const Work &work)
{
    clear();
    for (const QString &path : {here("one"), here("two"), there("three")})
        QDir().mkpath(path);
    Files::link(here("one"), here("link"));
    for (auto file = work.before.cbegin(); file != work.before.cend(); ++file)
        Files::write(file.key(), *file);
}

/// Does the work once, or kills it after a time. What is wrong then; empty for nothing.
QString tryOut(const Work &work, const Plan &plan, std::chrono::microseconds killAfter = {})
{
    prepare(work);
    CallFailures::report->calls = 0;
    std::memset(CallFailures::report->failed, 0, sizeof CallFailures::report->failed);
    const pid_t child = fork();
    if (child == 0) {
        alarm(longestSeconds);
        CallFailures::plan = plan;
        CallFailures::isOfTest = isOurs;
        const bool done = work.run();
        _exit(done ? 1 : 0);
    }
    if (killAfter.count() > 0) {
        std::this_thread::sleep_for(killAfter);
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const bool mayBeKilled =
        plan.kind == Plan::KillBefore || plan.kind == Plan::KillAfter || killAfter.count() > 0;
    if (WIFSIGNALED(status) && !(mayBeKilled && WTERMSIG(status) == SIGKILL))
        return QStringLiteral("it ended by signal %1").arg(WTERMSIG(status));
    return fault(work, WIFEXITED(status) && WEXITSTATUS(status) == 1, plan);
}

FileCopy::Progress &progress()
{
    static FileCopy::Progress progress;
    return progress;
}

bool copied(const QString &from, const QString &to, Existing existing)
{
    return FileCopy::copy(from, to, existing, progress());
}
bool moved(const QString &from, const QString &to, Existing existing)
{
    return FileCopy::move(from, to, existing, progress()) == FileCopy::Moved::Yes;
}

bool exported(const QString &path, const QString &source)
{
    VistamoSaveImageThread writer;
    TSaveImageRequest request = {{}, path, source};
    request.late = [] { return Pictures::quarters({64, 48}); };
    writer.addRequest(request);
    writer.start();
    writer.wait();
    return QImage(path).size() == QSize(64, 48);
}

void runBatch(bool toPdf, bool overwrite, const QString &target, const QStringList &sources)
{
    BatchRun run;
    run.sourceFiles = sources;
    run.targetPath = toPdf && !overwrite ? QString() : target;
    run.targetFormat = QStringLiteral("PNG");
    run.targetExtension = QStringLiteral(".png");
    run.overwrite = overwrite;
    run.isConvertMode = toPdf ? 0 : 1;
    run.options.outputFolder = QFileInfo(target).path();
    run.options.pdfFileName = QFileInfo(target).fileName();
    const RunObserver observer = {[](const QString &) {}, [] { return false; }};
    if (toPdf)
        static_cast<void>(createPdf(run, observer));
    else
        static_cast<void>(convertImages(run, observer));
}

bool isNewPdf(const QByteArray &content)
{
    return content.size() > 500 && content.startsWith("%PDF") && content.trimmed().endsWith("%%EOF");
}
bool madePdf(const QString &path, bool overwrite)
{
    runBatch(true, overwrite, path, {here("one/a.png")});
    return isNewPdf(Files::read(path));
}
bool isPicture(const QByteArray &content)
{
    return QImage::fromData(content).size() == QSize(64, 48);
}

bool storedInDatabase()
{
    ThumbnailDatabase::setFileName(here("thumbnails.db"));
    TThumbnailRecord record = ThumbnailDatabase::keyOf(QFileInfo(here("one/a.png")));
    record.resolution = QStringLiteral("64x48");
    {
        auto db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("make"));
        if (ThumbnailDatabase::open(db, 100))
            static_cast<void>(ThumbnailDatabase::createTable(QStringLiteral("FileData"), db));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("make"));
    return ThumbnailDatabase::add(record, QByteArray(20000, 'x'));
}

/// The database as the next start finds it: whole, and it takes thumbnails.
QString faultOfDatabase(const Work &work)
{
    const pid_t child = fork();
    if (child == 0) {
        auto db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("look"));
        db.setDatabaseName(here("thumbnails.db"));
        QSqlQuery query(db);
        const bool isWhole = db.open() && query.exec(QStringLiteral("PRAGMA integrity_check")) && query.next()
                             && query.value(0).toString() == QLatin1String("ok");
        query.finish();
        _exit(isWhole ? work.run() ? 0 : 2 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? QString() : QStringLiteral("the database is of no use, %1").arg(status);
}

QList<Work> allWork()
{
    const QByteArray a(300000, 'a');
    const QByteArray b(70000, 'b');
    QByteArray picture;
    QBuffer buffer(&picture);
    Pictures::quarters({64, 48}).save(&buffer, "PNG");
    const QByteArray pdf = "%PDF old %%EOF";

    QList<Work> all;
    for (const bool across : {false, true}) {
        const auto target = [across](const QString &name) {
            return across ? there("three/" + name) : here("two/" + name);
        };
        const QString disk = across ? QStringLiteral(" to another disk") : QString();
        const QString from = here("one/a.jpg");
        const QString to = target("a.jpg");
        all += {
            {"copy" + disk,
             {{from, a}},
             [=] { return copied(from, to, Existing::Keep); },
             {{from, a}, {to, a}}},
            {"copy over" + disk,
             {{from, a}, {to, b}},
             [=] { return copied(from, to, Existing::Replace); },
             {{from, a}, {to, a}},
             {},
             {to}},
            {"move" + disk, {{from, a}}, [=] { return moved(from, to, Existing::Keep); }, {{to, a}}, {from}},
            {"move over" + disk,
             {{from, a}, {to, b}},
             [=] { return moved(from, to, Existing::Replace); },
             {{to, a}},
             {from},
             {to}},
            {"export" + disk,
             {{here("one/a.png"), picture}},
             [=] { return exported(target("new.png"), here("one/a.png")); },
             {{target("new.png"), {}}},
             {},
             {},
             isPicture},
            {"export over" + disk,
             {{here("one/a.png"), picture}, {target("old.png"), b}},
             [=] { return exported(target("old.png"), here("one/a.png")); },
             {{target("old.png"), {}}},
             {},
             {target("old.png")},
             isPicture},
            {"convert" + disk,
             {{here("one/a.png"), picture}, {here("one/b.png"), picture}, {target("b.png"), b}},
             [=] {
                 runBatch(false, true, QFileInfo(to).path(), {here("one/a.png"), here("one/b.png")});
                 return isPicture(Files::read(target("a.png"))) && isPicture(Files::read(target("b.png")));
             },
             {},
             {},
             {target("b.png")},
             isPicture},
            {"PDF" + disk,
             {{here("one/a.png"), picture}},
             [=] { return madePdf(target("a.pdf"), false); },
             {{target("a.pdf"), {}}},
             {},
             {},
             isNewPdf},
            {"PDF over" + disk,
             {{here("one/a.png"), picture}, {target("a.pdf"), pdf}},
             [=] { return madePdf(target("a.pdf"), true); },
             {{target("a.pdf"), {}}},
             {},
             {target("a.pdf")},
             isNewPdf},
            {"PDF beside one that stays" + disk,
             {{here("one/a.png"), picture}, {target("a.pdf"), pdf}},
             [=] { return madePdf(target("a.pdf"), false); },
             {{target("a.pdf"), {}}},
             {},
             {},
             isNewPdf},
        };
        const QString thrown = target("x.jpg");
        all += {"trash" + disk,
                {{thrown, a}},
                [=] { return FileCopy::moveToTrash(thrown, progress()); },
                {},
                {thrown}};
    }
    const QString name = here("one/a.jpg");
    const QString through = here("link/a.jpg");
    const auto rename = [](const QString &from, const QString &to) {
        return Platform::renameToNew(from, to, progress().heldFiles);
    };
    all += {
        {"rename",
         {{name, a}},
         [=] { return rename(name, here("one/b.jpg")); },
         {{here("one/b.jpg"), a}},
         {name}},
        {"rename by case",
         {{name, a}},
         [=] { return rename(name, here("one/A.jpg")); },
         {{here("one/A.jpg"), a}},
         {name}},
        {"rename over",
         {{name, a}, {here("one/b.jpg"), b}},
         [=] { return rename(name, here("one/b.jpg")); },
         {{name, a}, {here("one/b.jpg"), b}}},
        {"move onto itself",
         {{name, a}},
         [=] { return moved(name, through, Existing::Replace); },
         {{name, a}}},
        {"copy onto itself",
         {{name, a}},
         [=] { return copied(name, through, Existing::Replace); },
         {{name, a}}},
        {"database", {{here("one/a.png"), picture}}, storedInDatabase, {}},
    };
    return all;
}

/// All ways in which a call may fail, or the program be killed there.
QList<Plan> plansFor(long call)
{
    QList<Plan> plans = {{Plan::WriteLess, call, 0}, {Plan::KillBefore, call, 0}, {Plan::KillAfter, call, 0}};
    for (const int error : errors)
        plans +=
            {{Plan::FailOnce, call, error}, {Plan::FailFrom, call, error}, {Plan::FailAlike, call, error}};
    return plans;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    folder = std::make_unique<QTemporaryDir>();
    otherDisk = std::make_unique<QTemporaryDir>(QStringLiteral("/dev/shm/failing-calls-XXXXXX"));
    for (const auto &disk : {folder.get(), otherDisk.get()})
        trashes += QStringLiteral("%1/.Trash-%2").arg(QStorageInfo(disk->path()).rootPath()).arg(geteuid());
    for (QString &trash : trashes)
        trash = QDir::cleanPath(trash);
    const bool hasTrash = std::any_of(trashes.begin(), trashes.end(),
                                      [](const QString &trash) { return QFileInfo::exists(trash); });
    if (hasTrash) {
        std::puts("Left out: the trash. One of the disks has one.");
        trashes.clear();
    }
    qputenv("XDG_DATA_HOME", here("data").toUtf8());
    const QGuiApplication application(argc, argv);
    auto *const shared = mmap(nullptr, sizeof(CallFailures::Report), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    CallFailures::report = new (shared) CallFailures::Report;
    CallFailures::isOfTest = [](const char *) { return false; };

    int cases = 0;
    int faults = 0;
    const auto check = [&](const Work &work, const Plan &plan, std::chrono::microseconds killAfter = {}) {
        QString wrong = tryOut(work, plan, killAfter);
        if (wrong.isEmpty() && work.name == QLatin1String("database"))
            wrong = faultOfDatabase(work);
        if (!wrong.isEmpty() && ++faults < 30)
            std::printf("WRONG: %s, call %ld (%s), kind %d, error %d: %s\n", qPrintable(work.name), plan.at,
                        CallFailures::report->failed, plan.kind, plan.error, qPrintable(wrong));
    };
    QList<Work> all = allWork();
    if (hasTrash)
        all.removeIf([](const Work &work) { return work.name.startsWith(QLatin1String("trash")); });

    if (argc > 2 && QByteArray(argv[1]) == "--kills") {
        QRandomGenerator random(argc > 3 ? QByteArray(argv[3]).toUInt()
                                         : QRandomGenerator::global()->generate());
        const int kills = std::atoi(argv[2]);
        for (; cases < kills; ++cases) {
            const Work &work = all[cases % all.size()];
            const auto begin = std::chrono::steady_clock::now();
            check(work, {});
            const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - begin;
            check(work, {}, std::chrono::microseconds(1 + random.bounded(static_cast<int>(took.count()))));
        }
        clear();
        std::printf("%d kills, %d wrong\n", cases, faults);
        return faults == 0 ? 0 : 1;
    }

    const int every = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1;
    const QString wanted = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    for (const Work &work : std::as_const(all)) {
        if (!wanted.isEmpty() && work.name != wanted)
            continue;
        check(work, {});
        const long calls = CallFailures::report->calls;
        std::printf("%s: %ld calls\n", qPrintable(work.name), calls);
        std::fflush(stdout);
        for (long call = 1; call <= calls; ++call) {
            for (const Plan &plan : plansFor(call)) {
                if (++cases % every == 0)
                    check(work, plan);
            }
        }
    }
    clear();
    std::printf("%d cases, %d wrong\n", cases / every, faults);
    return faults == 0 ? 0 : 1;
}
