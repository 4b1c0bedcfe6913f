#pragma once

#include "batch/BatchOptions.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <limits>

/// All that one run of a batch tool goes by.
struct BatchRun
{
    QStringList sourceFiles; ///< in list order
    QString targetPath;      ///< folder of the converted files; where the user wants the PDF
    QString targetFormat;    ///< name of the format
    QString targetExtension; ///< with its dot
    bool overwrite = false;  ///< otherwise a target that exists is left alone and reported
    int isConvertMode = 0;   ///< 0 makes a PDF
    BatchOptions options;    ///< as they stood when the run was made
};

/// Whom a run tells of each file as its turn comes, and asks whether to go on. Both are called on the run's
/// own thread.
struct RunObserver
{
    std::function<void(const QString &source)> fileBegins;
    std::function<bool()> isStopped;
};

/// Targets that a run has left alone and their sources, in the order in which they were met.
struct ExistingTargets
{
    QStringList fileExistsList;
    QStringList fileSourceList;
};

/// Writes each picture to the run's folder in its format, on all processors. A picture that cannot be read or
/// written costs that picture alone.
[[nodiscard]] ExistingTargets convertImages(const BatchRun &run, const RunObserver &observer);

/// The most bytes of a PDF file: Qt's writer counts them in an int, and beyond that the file's own table of
/// contents is wrong.
constexpr qint64 largestPdf = std::numeric_limits<int>::max();

/// Writes the pictures to the PDF that the options name, a page each; one that cannot be read gives a blank
/// page. Nothing is written by a run that is stopped or fails.
/// @param mostBytes the pages end before the first that might make the file larger
/// @returns the pages of the file, or as many as there are pictures where there is none
[[nodiscard]] qsizetype createPdf(const BatchRun &run, const RunObserver &observer,
                                  qint64 mostBytes = largestPdf);
