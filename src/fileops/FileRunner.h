#pragma once

#include "fileops/FileCopy.h"

#include <QString>

#include <functional>

/// Runs file operations one after the other for whoever waits for each. GUI thread.
class FileRunner
{
public:
    using Work = std::function<bool(FileCopy::Progress &)>;

    /// Which file of how many it is, from 1 on.
    struct Place
    {
        qsizetype number = 1;
        qsizetype count = 1;
    };

    virtual ~FileRunner() = default;

    /// Runs `work` to its end and gives its result. `path` is the file that is shown meanwhile, with its
    /// place among those of the run.
    [[nodiscard]] virtual bool run(const QString &path, Place place, const Work &work) = 0;

    /// True once the user has cancelled: nothing more is to be touched.
    [[nodiscard]] virtual bool isCancelled() const = 0;
};
