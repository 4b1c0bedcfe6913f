#pragma once

#include <QtGlobal>

#include <algorithm>
#include <atomic>

namespace Jxl {

/// One of the pictures that are being decoded or encoded now, which share the processors.
class ProcessorShare
{
public:
    ProcessorShare() { ++sharers; }
    ~ProcessorShare() { --sharers; }
    Q_DISABLE_COPY_MOVE(ProcessorShare)

    /// Threads for this one of the `wanted`; at least one.
    [[nodiscard]] size_t threads(size_t wanted) const { return std::max<size_t>(wanted / sharers, 1); }

private:
    static inline std::atomic<size_t> sharers = 0;
};

} // namespace Jxl
