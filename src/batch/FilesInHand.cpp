#include "batch/FilesInHand.h"

#include <QFileInfo>

#include <algorithm>

namespace {

/// Equal for all paths of a file, also for one that is not there yet.
QString identity(const QString &path)
{
    const QFileInfo info(path);
    QString canonical = info.canonicalFilePath();
    if (canonical.isEmpty())
        canonical = QFileInfo(info.path()).canonicalFilePath() + QLatin1Char('/') + info.fileName();
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
    const QMutexLocker locker(&mutex);
    // Looked up anew after each piece of work: it may have made the file, and so given it another identity.
    while (running >= pool.maxThreadCount() || inHand.intersects(identities(files)))
        released.wait(&mutex);
}

void FilesInHand::start(const QStringList &files, std::function<void()> work)
{
    const QSet<QString> names = identities(files);
    {
        const QMutexLocker locker(&mutex);
        inHand.unite(names);
        ++running;
    }
    pool.start([this, names, work = std::move(work)] {
        work();
        const QMutexLocker locker(&mutex);
        inHand.subtract(names);
        --running;
        released.wakeOne();
    });
}
