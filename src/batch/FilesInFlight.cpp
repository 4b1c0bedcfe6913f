#include "batch/FilesInFlight.h"

#include <utility>

void FilesInFlight::waitFor(const QStringList &files)
{
    while (true) {
        // Anew after each piece of work: it may have made a file, and so given it another identity.
        next.clear();
        for (const QString &file : files)
            next.insert(ResolvedCaselessPath(file));
        auto access = inFlight.lock();
        if (access->isFreeFor(next, pool.maxThreadCount()))
            return;
        access.wait();
    }
}

void FilesInFlight::start(std::function<void()> work)
{
    {
        const auto access = inFlight.lock();
        Q_ASSERT_X(access->isFreeFor(next, pool.maxThreadCount()), "FilesInFlight",
                   qPrintable(QStringLiteral("%1 running").arg(access->running)));
        access->files.unite(next);
        ++access->running;
    }
    pool.start([this, names = next, work = std::move(work)] {
        work();
        auto access = inFlight.lock();
        access->files.subtract(names);
        --access->running;
        access.wakeOne();
    });
}
