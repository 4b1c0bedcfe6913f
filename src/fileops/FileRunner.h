#pragma once

#include "fileops/FileCopy.h"

#include <QString>

#include <functional>

/// Runs file operations one after the other for whoever waits for each. GUI thread.
class FileRunner
{
public:
    using Work = std::function<bool(FileCopy::Progress &)>;

    virtual ~FileRunner() = default;

    /// Runs `work` to its end and gives its result. `path` is the file that is shown meanwhile.
    [[nodiscard]] virtual bool run(const QString &path, const Work &work) = 0;

    /// True once the user has cancelled: nothing more is to be touched.
    [[nodiscard]] virtual bool isCancelled() const = 0;
};
