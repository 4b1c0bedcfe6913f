#include "shared/platform/ReplacementFile.h"

#include "shared/platform/HeldFiles.h"
#include "shared/platform/NewFileName.h"
#include "shared/platform/Platform.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QtDebug>

#include <algorithm>
#include <mutex>

namespace {

constexpr int attempts = 20;
// Seconds for the slowest of drives.
constexpr qint64 flushedAtOnce = 4 * 1024 * 1024;

QString targetOfLink(const QString &path)
{
    const QFileInfo file(path);
    if (!file.isSymLink())
        return path;
    return file.exists() ? file.canonicalFilePath() : file.symLinkTarget();
}

QString hiddenPath(const QString &folder)
{
    const quint32 number = QRandomGenerator::global()->generate();
    return QDir(folder).filePath(QStringLiteral(".orrelan-%1.tmp").arg(number, 8, 16, QLatin1Char('0')));
}

/// True if a new file can do without a name in this folder: some file systems have such files, but let none
/// of them have a name later. Tried as the first file of this run is written there, and the folder swept.
bool takesUnnamed(const QString &folder)
{
    static std::mutex mutex;
    static QHash<QString, bool> known;
    {
        const std::lock_guard lock(mutex);
        if (const auto found = known.constFind(folder); found != known.cend())
            return *found;
    }
    // Outside the lock: a drive that is away holds up those alone who write there.
    ReplacementFile::sweep(folder, QDateTime::currentDateTime());
    QFile file;
    const int handle = Platform::openUnnamed(folder, true);
    const QString path = hiddenPath(folder);
    const bool takes = handle >= 0 && file.open(handle, QIODevice::ReadWrite, QFileDevice::AutoCloseHandle)
                       && Platform::giveName(file, path) && QFile::remove(path);
    const std::lock_guard lock(mutex);
    known.insert(folder, takes);
    return takes;
}

} // namespace

ReplacementFile::ReplacementFile(const QString &target, HeldFiles &heldFiles, Link link)
    : target(link == Link::Follow ? targetOfLink(target) : target)
    , heldFiles(heldFiles)
    , link(link)
{
}

ReplacementFile::~ReplacementFile()
{
    if (isOpen())
        drop();
}

void ReplacementFile::drop()
{
    close();
    if (!fileName().isEmpty() && !Platform::removeFile(fileName(), heldFiles))
        qDebug() << "Cannot remove" << fileName();
}

void ReplacementFile::sweep(const QString &folder, const QDateTime &now)
{
    static const QRegularExpression ours(QStringLiteral("^\\.orrelan-[0-9a-f]{8}\\.tmp$"));
    QDirIterator files(folder, {QStringLiteral(".orrelan-*.tmp")},
                       QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    HeldFiles noneAwaited(0);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        // The time of the last change may be that of a file of which it is a copy.
        const QDateTime latest = std::max({file.lastModified(), file.metadataChangeTime(), file.birthTime()});
        if (ours.match(file.fileName()).hasMatch() && latest.addDays(1) < now
            && !Platform::isAtWork(file.filePath()) && !Platform::removeFile(file.filePath(), noneAwaited))
            qDebug() << "Cannot remove" << file.filePath();
    }
}

bool ReplacementFile::create(Name name)
{
    const QFileInfo info(target);
    if (!isNewFileName(info.fileName()))
        return false;
    const bool replacesLink = link == Link::Replace && info.isSymLink();
    if (info.exists() && !replacesLink && (!info.isFile() || (link == Link::Follow && !info.isWritable())))
        return false;
    // What replaces or copies another file may be as private as that, and gets its permissions in the end.
    const auto permissions =
        link == Link::Replace || info.exists() ? Platform::privatePermissions() : std::nullopt;
    const bool mayBeUnnamed = takesUnnamed(info.path());
    if (name == Name::None && mayBeUnnamed && openUnnamed(info.path(), permissions.has_value()))
        return true;
    constexpr OpenMode mode = QIODevice::ReadWrite | QIODevice::NewOnly;
    for (int i = 0; i < attempts; ++i) {
        setFileName(hiddenPath(info.path()));
        if (permissions ? open(mode, *permissions) : open(mode)) {
            Platform::markAtWork(*this);
            return true;
        }
        if (!exists())
            break;
    }
    qDebug() << "Cannot write beside" << target << errorString();
    return false;
}

bool ReplacementFile::openUnnamed(const QString &folder, bool forUserAlone)
{
    const int file = Platform::openUnnamed(folder, forUserAlone);
    return file >= 0 && open(file, QIODevice::ReadWrite, AutoCloseHandle);
}

void ReplacementFile::takeAttributes(const QString &file)
{
    Platform::copyAttributes(file, *this); // first: what is write-protected takes none
    // What this process may do, which Qt adds, is no permission of the file.
    constexpr Permissions ofProcess = ReadUser | WriteUser | ExeUser;
    setPermissions(QFile::permissions(file) & ~ofProcess);
}

bool ReplacementFile::commit()
{
    if (isOpen() && link == Link::Follow && QFileInfo::exists(target))
        takeAttributes(target);
    return finish([this] { return Platform::replaceFile(fileName(), target, heldFiles); });
}

bool ReplacementFile::commitAsNew(const MakeWay &makeWay)
{
    return finish([&] {
        for (int i = 0; i < attempts; ++i) {
            if (Platform::renameToNew(fileName(), target, heldFiles))
                return true;
            if (!makeWay || !makeWay(target))
                return false;
        }
        return false;
    });
}

/// Flushes and closes the new file, and lets it take the target's place; drops it if any of that fails.
bool ReplacementFile::finish(const std::function<bool()> &takePlace)
{
    if (!isOpen())
        return false;
    bool complete = flush() && !writeFailed && Platform::flushToDisk(*this);
    if (complete && fileName().isEmpty()) {
        const QString path = hiddenPath(QFileInfo(target).path());
        complete = Platform::giveName(*this, path);
        close();
        if (complete)
            setFileName(path);
    }
    close();
    complete = complete && takePlace();
    if (complete) {
        Platform::flushFolder(QFileInfo(target).path());
    } else {
        qDebug() << "Cannot write" << target << errorString();
        drop();
    }
    return complete;
}

qint64 ReplacementFile::writeData(const char *data, qint64 length)
{
    // Where progress is told each write goes up to the next flush.
    const qint64 part = progress ? std::min(length, flushedAtOnce - unflushed) : length;
    const qint64 written = QFile::writeData(data, part);
    writeFailed |= written != part;
    unflushed += part;
    if (progress && unflushed == flushedAtOnce) {
        unflushed = 0;
        writeFailed |= !Platform::flushToDisk(*this);
        progress();
    }
    return part < length && !writeFailed ? part + writeData(data + part, length - part) : written;
}
