#include "shared/ReplacementFile.h"

#include "shared/Platform.h"

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

ReplacementFile::ReplacementFile(const QString &target)
    : target(targetOfLink(target))
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
    if (info.exists() && (!info.isFile() || !info.isWritable()))
        return false;
    for (int i = 0; i < attempts; ++i) {
        const quint32 number = QRandomGenerator::global()->generate();
        setFileName(
            info.dir().filePath(QStringLiteral(".orrelan-%1.tmp").arg(number, 8, 16, QLatin1Char('0'))));
        if (open(QIODevice::ReadWrite | QIODevice::NewOnly))
            return true;
        if (!exists())
            break;
    }
    qDebug() << "Cannot write beside" << target << errorString();
    return false;
}

bool ReplacementFile::commit()
{
    if (!isOpen())
        return false;
    bool complete = flush() && !writeFailed && Platform::flushToDisk(*this);
    if (const QFileInfo old(target); old.exists())
        setPermissions(old.permissions());
    close();
    std::error_code failure;
    if (complete) {
        std::filesystem::rename(filesystemFileName(), QFileInfo(target).filesystemFilePath(), failure);
        complete = !failure;
    }
    if (!complete) {
        qDebug() << "Cannot write" << target << errorString() << failure.message().c_str();
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
