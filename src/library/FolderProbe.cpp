#include "library/FolderProbe.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QMutex>
#include <QSet>
#include <QtDebug>
#include <QWaitCondition>

#include <memory>
#include <system_error>
#include <thread>

namespace {

/// Shared with the threads, since one that hangs outlives the call.
struct Answers
{
    QMutex mutex;
    QWaitCondition added;
    QHash<QString, bool> exists;
};

} // namespace

QHash<QString, bool> probeFolders(const QStringList &paths, int milliseconds)
{
    const auto answers = std::make_shared<Answers>();
    for (const QString &path : paths) {
        const auto look = [answers, path] {
            const bool exists = QFileInfo::exists(path);
            const QMutexLocker locker(&answers->mutex);
            answers->exists.insert(path, exists);
            answers->added.wakeOne();
        };
        try {
            std::thread(look).detach();
        } catch (const std::system_error &error) {
            qDebug() << "probeFolders: " << error.what(); // too many threads: no answer
        }
    }

    const QDeadlineTimer deadline(milliseconds);
    const qsizetype different = QSet<QString>(paths.cbegin(), paths.cend()).size();
    const QMutexLocker locker(&answers->mutex);
    while (answers->exists.size() < different && answers->added.wait(&answers->mutex, deadline)) {
    }
    return answers->exists;
}
