#pragma once

#include "batch/ImagesToPDFConvertThread.h"
#include "shared/threads/Worker.h"

#include <QStringList>
#include <QWidget>

#include <memory>

class ImagesToPDFForm;

namespace Ui {
class ImagesToPDFProgressForm;
}

/// Owns a run of a batch tool: starts its worker, counts its files, asks about those that exist, and goes
/// with the run's end.
class ImagesToPDFProgressForm : public QWidget
{
    Q_OBJECT

public:
    explicit ImagesToPDFProgressForm(ImagesToPDFForm *parent);

    /// Ends a run that is still going on, after the files in flight.
    ~ImagesToPDFProgressForm() override;

    /// @param files     sources, in list order
    /// @param mode      0 makes one PDF, otherwise each file is converted
    /// @param path      folder of the converted files, or the PDF that is offered at the end
    /// @param format    name of the format
    /// @param extension with its dot
    /// @param overwrite otherwise existing targets are left alone and asked about
    void startRun(QStringList files, int mode, QString path, QString format, QString extension,
                  bool overwrite);

    /// What is said at the end of a run that was not stopped.
    /// @param pages of the PDF, or the number of files
    [[nodiscard]] static QString completedText(qsizetype files, qsizetype pages);

signals:
    void startConvertSignal();
    void finishConvertSignal();

private slots:
    void handleUpdateFileName(QString fileName);
    void handleThreadTerminated();
    void handleThreadCompleted(QStringList fileExistsList, QStringList fileSourceList);
    void handleOverwriteFiles(QStringList urls);
    void handleConvertFinish();
    void on_cancelButton_clicked();

private:
    void showCompleted();
    void askToOverwrite(const QStringList &fileExistsList, const QStringList &fileSourceList);

    const std::unique_ptr<Ui::ImagesToPDFProgressForm> ui;
    QStringList fileList;
    qsizetype pages = 0; ///< of the PDF; as many as there are files unless the run says otherwise
    QString targetPath;
    QString targetFormat;
    QString targetExtension;
    int isConvertMode = 0;
    Worker<ImagesToPDFConvertThread> convertThread;
};
