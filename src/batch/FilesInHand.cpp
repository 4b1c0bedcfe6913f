#include "batch/FilesInHand.h"

#include <QFileInfo>

#include <utility>

namespace {

/// Equal for all paths of a file, also for one that is not there yet.
QString identity(const QString &path)
{
    const QFileInfo info(path);
    QString canonical = info.canonicalFilePath();
    if (canonical.isEmpty()) {
        const QFileInfo target(info.isSymLink() ? info.symLinkTarget() : path);
        canonical = QFileInfo(target.path()).canonicalFilePath() + QLatin1Char('/') + target.fileName();
    }
    return canonical.toCaseFolded();
}

QSet<QString> identities(const QStringList &files)
{
    QSet<QString> result;
    for (const QString &file : files)
        result.insert(identity(file));
    return result;
}

} // namespace

void FilesInHand::waitFor(const QStringList &files)
{
    while (true) {
        // Anew after each piece of work: it may have made a file, and so given it another identity.
        next = identities(files);
        const QMutexLocker locker(&mutex);
        if (running < pool.maxThreadCount() && !inHand.intersects(next))
            return;
        released.wait(&mutex);
    }
}

void FilesInHand::start(std::function<void()> work)
{
    {
        const QMutexLocker locker(&mutex);
        inHand.unite(next);
        ++running;
    }
    pool.start([this, names = next, work = std::move(work)] {
        work();
        const QMutexLocker locker(&mutex);
        inHand.subtract(names);
        --running;
        released.wakeOne();
    });
}
