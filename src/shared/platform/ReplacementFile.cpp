#include "shared/platform/ReplacementFile.h"

#include "shared/platform/NewFileName.h"
#include "shared/platform/Platform.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QtDebug>

#include <filesystem>
#include <system_error>

namespace {

constexpr int attempts = 20;

QString targetOfLink(const QString &path)
{
    const QFileInfo file(path);
    if (!file.isSymLink())
        return path;
    return file.exists() ? file.canonicalFilePath() : file.symLinkTarget();
}

} // namespace

ReplacementFile::ReplacementFile(const QString &target, Link link)
    : target(link == Link::Follow ? targetOfLink(target) : target)
    , link(link)
{
}

ReplacementFile::~ReplacementFile()
{
    if (isOpen()) {
        close();
        remove();
    }
}

bool ReplacementFile::create()
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
    constexpr OpenMode mode = QIODevice::ReadWrite | QIODevice::NewOnly;
    for (int i = 0; i < attempts; ++i) {
        const quint32 number = QRandomGenerator::global()->generate();
        setFileName(
            info.dir().filePath(QStringLiteral(".orrelan-%1.tmp").arg(number, 8, 16, QLatin1Char('0'))));
        if (permissions ? open(mode, *permissions) : open(mode))
            return true;
        if (!exists())
            break;
    }
    qDebug() << "Cannot write beside" << target << errorString();
    return false;
}

bool ReplacementFile::commit()
{
    if (const QFileInfo old(target); isOpen() && link == Link::Follow && old.exists()) {
        setPermissions(old.permissions());
        Platform::copyAttributes(target, *this);
    }
    return finish([this] {
        std::error_code failure;
        std::filesystem::rename(filesystemFileName(), QFileInfo(target).filesystemFilePath(), failure);
        return !failure;
    });
}

bool ReplacementFile::commitAsNew(const MakeWay &makeWay)
{
    return finish([&] {
        for (int i = 0; i < attempts; ++i) {
            if (Platform::renameToNew(fileName(), target))
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
    close();
    complete = complete && takePlace();
    if (complete) {
        Platform::flushFolder(QFileInfo(target).path());
    } else {
        qDebug() << "Cannot write" << target << errorString();
        remove();
    }
    return complete;
}

qint64 ReplacementFile::writeData(const char *data, qint64 length)
{
    const qint64 written = QFile::writeData(data, length);
    writeFailed |= written != length;
    return written;
}
