#include "shared/MemoryBudget.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QString>
#include <QWaitCondition>

#include <limits>

namespace {

// A share that is never given back, since its file hangs on a dead drive, holds up nobody for longer than
// this.
constexpr int longestWaitMs = 10000;

QMutex mutex;
QWaitCondition freed;
qint64 budget = std::numeric_limits<qint64>::max(); // guarded by mutex, as what follows
qint64 inUse = 0;
int waitingShares = 0;

} // namespace

void MemoryBudget::setBytes(qint64 bytes)
{
    const QMutexLocker locker(&mutex);
    budget = bytes;
}

int MemoryBudget::waiting()
{
    const QMutexLocker locker(&mutex);
    return waitingShares;
}

MemoryBudget::Share::Share(qint64 bytes)
    : bytes(bytes)
{
    const QDeadlineTimer deadline(longestWaitMs);
    const QMutexLocker locker(&mutex);
    ++waitingShares;
    while (inUse > 0 && bytes > budget - inUse && freed.wait(&mutex, deadline)) {
    }
    --waitingShares;
    inUse += bytes;
}

MemoryBudget::Share::~Share()
{
    const QMutexLocker locker(&mutex);
    Q_ASSERT_X(inUse >= bytes, "MemoryBudget",
               qPrintable(QStringLiteral("%1 bytes given back of %2").arg(bytes).arg(inUse)));
    inUse -= bytes;
    freed.wakeAll();
}
