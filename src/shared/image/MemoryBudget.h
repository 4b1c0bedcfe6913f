#pragma once

#include <QtGlobal>

/// Keeps pictures that are decoded in parallel from taking all memory: each takes its share of one budget,
/// and waits while the others leave too little. Safe from any thread.
namespace MemoryBudget {

/// Sets the budget, bytes. Until then there is none.
void setBytes(qint64 bytes);

/// The budget, bytes.
[[nodiscard]] qint64 bytes();

/// How many wait for their share at this moment.
[[nodiscard]] int waiting();

/// Held while one picture is decoded. One that needs more than the whole budget is decoded alone.
class Share
{
public:
    [[nodiscard]] explicit Share(qint64 bytes);
    ~Share();
    Q_DISABLE_COPY_MOVE(Share)

private:
    const qint64 bytes;
};

} // namespace MemoryBudget
