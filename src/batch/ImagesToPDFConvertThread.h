#pragma once

#include "batch/BatchOptions.h"
#include "shared/threads/StoppableThread.h"

#include <QImage>
#include <QStringList>

class ReplacementFile;

/// The worker of one run of a batch tool: converts pictures, or makes one PDF of them.
///
/// Its owner, on the GUI thread, sets the members before the start and leaves them alone from then on. A
/// picture that cannot be read or written costs that picture, never the run; no file is ever half written,
/// and none is replaced but by a complete one. `stop` ends the run after the files in hand.
class ImagesToPDFConvertThread : public StoppableThread
{
    Q_OBJECT

public:
    /// Takes a copy of the options as they stand.
    explicit ImagesToPDFConvertThread(QObject *parent = nullptr);

    QStringList sourceFiles; ///< in list order
    QString targetPath;      ///< folder of the converted files; where the user wants the PDF
    QString targetFormat;    ///< name of the format
    QString targetExtension; ///< with its dot
    bool overwrite = false;  ///< otherwise a target that exists is left alone and reported
    int isConvertMode = 0;   ///< 0 makes a PDF

signals:
    /// The file whose turn it is, in list order.
    void updateFileName(QString fileName);

    /// The end of a run that was stopped.
    void threadTerminated();

    /// The end of any other run: targets that existed, in the order in which they were met, and their
    /// sources.
    void threadCompleted(QStringList fileExistsList, QStringList fileSourceList);

protected:
    void run() override;

private:
    void convertImages();
    void createPdf();
    void writePages(ReplacementFile &file);

    const BatchOptions options;
    QStringList fileExistsList;
    QStringList fileSourceList;
};
