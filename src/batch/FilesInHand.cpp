#include "batch/FilesInHand.h"

#include <utility>

void FilesInHand::waitFor(const QStringList &files)
{
    while (true) {
        // Anew after each piece of work: it may have made a file, and so given it another identity.
        next.clear();
        for (const QString &file : files)
            next.insert(ResolvedCaselessPath(file));
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
        Q_ASSERT_X(running < pool.maxThreadCount() && !inHand.intersects(next), "FilesInHand",
                   qPrintable(QStringLiteral("%1 running").arg(running)));
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
