#include "shared/image/MemoryBudget.h"

#include "shared/threads/Guarded.h"

#include <QDeadlineTimer>
#include <QString>

#include <algorithm>
#include <limits>

namespace {

// A share that is never given back, since its file hangs on a dead drive, holds up nobody for longer than
// this.
constexpr int longestWaitMs = 30000;
constexpr int longestWaitOfEncodersMs = 600000;

constexpr qint64 mostBytes = std::numeric_limits<qint64>::max() / 1024; ///< so that no sum overflows

struct Bytes
{
    qint64 budget = std::numeric_limits<qint64>::max();
    qint64 inUse = 0;
    int waitingShares = 0;
};
Guarded<Bytes> memory;

} // namespace

void MemoryBudget::setBytes(qint64 bytes)
{
    memory.lock()->budget = bytes;
}

qint64 MemoryBudget::bytes()
{
    return memory.lock()->budget;
}

int MemoryBudget::waiting()
{
    return memory.lock()->waitingShares;
}

MemoryBudget::Share::Share(qint64 wanted, Patience patience)
    : bytes(std::min(wanted, mostBytes))
{
    const QDeadlineTimer deadline(patience == Patience::Long ? longestWaitOfEncodersMs : longestWaitMs);
    auto access = memory.lock();
    ++access->waitingShares;
    while (access->inUse > 0 && bytes > access->budget - access->inUse && access.wait(deadline)) {
    }
    --access->waitingShares;
    access->inUse += bytes;
}

MemoryBudget::Share::~Share()
{
    auto access = memory.lock();
    Q_ASSERT_X(access->inUse >= bytes, "MemoryBudget",
               qPrintable(QStringLiteral("%1 bytes given back of %2").arg(bytes).arg(access->inUse)));
    access->inUse -= bytes;
    access.wakeAll();
}
