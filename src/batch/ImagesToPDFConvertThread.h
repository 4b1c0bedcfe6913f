#pragma once

#include "batch/BatchRun.h"
#include "shared/threads/StoppableThread.h"

#include <QStringList>

/// The worker of one run of a batch tool: converts pictures, or makes one PDF of them.
///
/// Its owner, on the GUI thread, sets the members of the run before the start and leaves them alone from then
/// on. No file is ever half written, and none is replaced but by a complete one. `stop` ends the run after
/// the files in flight.
class ImagesToPDFConvertThread : public StoppableThread, public BatchRun
{
    Q_OBJECT

public:
    /// Takes a copy of the options as they stand.
    explicit ImagesToPDFConvertThread(QObject *parent = nullptr);

signals:
    /// The file whose turn it is, in list order.
    void updateFileName(QString fileName);

    /// Before the end of a run that makes a PDF: its pages, fewer than there are pictures if no more fit.
    void pagesWritten(qsizetype pages);

    /// The end of a run that was stopped.
    void threadTerminated();

    /// The end of any other run: targets that existed, in the order in which they were met, and their
    /// sources.
    void threadCompleted(QStringList fileExistsList, QStringList fileSourceList);

protected:
    void run() override;
};
