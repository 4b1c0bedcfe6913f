#include "batch/FilesInHand.h"

#include <utility>

void FilesInHand::waitFor(const QStringList &files)
{
    while (true) {
        // Anew after each piece of work: it may have made a file, and so given it another identity.
        next.clear();
        for (const QString &file : files)
            next.insert(ResolvedCaselessPath(file));
        auto access = inHand.lock();
        if (access->isFreeFor(next, pool.maxThreadCount()))
            return;
        access.wait();
    }
}

void FilesInHand::start(std::function<void()> work)
{
    {
        const auto access = inHand.lock();
        Q_ASSERT_X(access->isFreeFor(next, pool.maxThreadCount()), "FilesInHand",
                   qPrintable(QStringLiteral("%1 running").arg(access->running)));
        access->files.unite(next);
        ++access->running;
    }
    pool.start([this, names = next, work = std::move(work)] {
        work();
        auto access = inHand.lock();
        access->files.subtract(names);
        --access->running;
        access.wakeOne();
    });
}
