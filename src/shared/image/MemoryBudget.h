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

/// How long a share is waited for.
enum class Patience
{
    Short, ///< somebody looks on
    Long   ///< until encoders, which take minutes, are done
};

/// Held while one picture is decoded or encoded. One that needs more than the whole budget has it alone.
class Share
{
public:
    [[nodiscard]] explicit Share(qint64 wanted, Patience patience = Patience::Short);
    ~Share();
    Q_DISABLE_COPY_MOVE(Share)

private:
    const qint64 bytes;
};

} // namespace MemoryBudget
