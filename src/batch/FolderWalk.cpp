#include "batch/FolderWalk.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QList>

#include <algorithm>

namespace {

QList<QFileInfo> entriesInReverse(const QString &folder)
{
    QList<QFileInfo> entries;
    QDirIterator iterator(folder, {QStringLiteral("*.*")},
                          QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot);
    while (iterator.hasNext()) {
        iterator.next();
        entries.append(iterator.fileInfo());
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

} // namespace

void walkFolder(const QString &folder, const std::function<bool(const QString &)> &visit)
{
    QList<QFileInfo> pending = entriesInReverse(folder);
    while (!pending.isEmpty()) {
        const QFileInfo entry = pending.takeLast();
        if (!entry.isDir()) {
            if (!visit(entry.filePath()))
                return;
        } else if (!entry.isSymLink()) {
            pending.append(entriesInReverse(entry.filePath()));
        }
    }
}
