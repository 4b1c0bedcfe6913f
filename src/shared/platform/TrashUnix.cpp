#include "shared/platform/Platform.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QStorageInfo>

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The rules are those of freedesktop.org, https://specifications.freedesktop.org/trash-spec/1.0.

namespace {

constexpr int attempts = 20;
constexpr QLatin1String infoSuffix(".trashinfo");

struct TrashFolder
{
    QString path;
    QString topFolder; ///< what its files are named from; empty for the whole path
};

[[nodiscard]] bool status(const QString &path, struct stat &info)
{
    return lstat(QFile::encodeName(path).constData(), &info) == 0;
}

/// Makes a folder for this user alone, and for nobody else's file to be put there instead.
[[nodiscard]] bool makeOwnFolder(const QString &path)
{
    mkdir(QFile::encodeName(path).constData(), S_IRWXU);
    struct stat info = {};
    return status(path, info) && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

/// The trash of the user's home, which may be a link to somewhere else.
TrashFolder homeTrash()
{
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QDir().mkpath(data);
    const QString path = data + QStringLiteral("/Trash");
    mkdir(QFile::encodeName(path).constData(), S_IRWXU);
    return {QFileInfo(path).canonicalFilePath(), {}};
}

/// The trashes at the root of a file system: the one that its administrator made for all, and the user's own.
QList<TrashFolder> trashesAt(const QString &topFolder)
{
    QList<TrashFolder> trashes;
    const QString uid = QString::number(geteuid());
    const QString top = topFolder.endsWith(QLatin1Char('/')) ? topFolder : topFolder + QLatin1Char('/');
    const QString common = top + QStringLiteral(".Trash");
    struct stat info = {};
    if (status(common, info) && S_ISDIR(info.st_mode) && (info.st_mode & S_ISVTX))
        trashes.append({common + QLatin1Char('/') + uid, top});
    trashes.append({common + QLatin1Char('-') + uid, top});
    return trashes;
}

/// A name for a file in a trash: its own, if that leaves room for the suffix of what tells of it.
/// @param extra what sets it apart from others of its name; may be empty
/// @param longest name that the file system takes, bytes
QString nameInTrash(const QString &fileName, const QString &extra, qsizetype longest)
{
    constexpr int longestSuffix = 16;
    const QFileInfo info(fileName);
    const bool hasSuffix = !info.suffix().isEmpty() && info.suffix().size() <= longestSuffix;
    const QString end = extra + (hasSuffix ? QLatin1Char('.') + info.suffix() : QString());
    QString stem = hasSuffix ? info.completeBaseName() : fileName;
    while (!stem.isEmpty() && QFile::encodeName(stem + end).size() + infoSuffix.size() > longest)
        stem.chop(stem.back().isLowSurrogate() ? 2 : 1);
    return stem + end;
}

QByteArray infoOf(const QString &file, const TrashFolder &trash)
{
    const bool relative = !trash.topFolder.isEmpty() && file.startsWith(trash.topFolder);
    const QString named = relative ? file.mid(trash.topFolder.size()) : file;
    return "[Trash Info]\nPath=" + QFile::encodeName(named).toPercentEncoding("/")
           + "\nDeletionDate=" + QDateTime::currentDateTime().toString(Qt::ISODate).toLatin1() + '\n';
}

/// Puts a file into a trash. False if that trash does not take it: nothing of it is left there.
bool put(const QString &file, const TrashFolder &trash, const Platform::Move &move)
{
    const QString files = trash.path + QStringLiteral("/files/");
    const QString infos = trash.path + QStringLiteral("/info/");
    if (!makeOwnFolder(trash.path) || !makeOwnFolder(files.chopped(1)) || !makeOwnFolder(infos.chopped(1)))
        return false;
    const long longest = pathconf(QFile::encodeName(infos).constData(), _PC_NAME_MAX);
    const QByteArray content = infoOf(file, trash);
    for (int i = 0; i < attempts; ++i) {
        const QString extra =
            i > 0 ? QStringLiteral(".%1").arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'))
                  : QString();
        const QString name = nameInTrash(QFileInfo(file).fileName(), extra, longest > 0 ? longest : 255);
        // It keeps the name for the file.
        QFile info(infos + name + infoSuffix);
        if (!info.open(QIODevice::WriteOnly | QIODevice::NewOnly, *Platform::privatePermissions())) {
            if (!info.exists())
                return false;
            continue;
        }
        const bool told = info.write(content) == content.size() && info.flush();
        info.close();
        if (told && move(file, files + name))
            return true;
        info.remove();
        struct stat other = {};
        if (!told || !status(files + name, other))
            return false;
    }
    return false;
}

} // namespace

bool Platform::moveToTrash(const QString &path, const Move &moveAcross, HeldFiles &heldFiles)
{
#ifdef Q_OS_DARWIN
    return QFile::moveToTrash(path);
#endif
    const Move moveWithin = [&heldFiles](const QString &from, const QString &to) {
        return renameToNew(from, to, heldFiles);
    };
    const QString folder = QFileInfo(QFileInfo(path).path()).canonicalFilePath();
    // What cannot leave its folder need not be copied first.
    if (faccessat(AT_FDCWD, QFile::encodeName(folder).constData(), W_OK, AT_EACCESS) != 0)
        return false;
    const QString file = QDir(folder).filePath(QFileInfo(path).fileName());
    const TrashFolder home = homeTrash();
    if (put(file, home, moveWithin))
        return true;
    const QList<TrashFolder> others = trashesAt(QStorageInfo(folder).rootPath());
    return std::any_of(others.begin(), others.end(),
                       [&](const TrashFolder &trash) { return put(file, trash, moveWithin); })
           || put(file, home, moveAcross);
}
