#pragma once

#include "fileops/FileRunner.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <memory>

class QProgressDialog;

/// Lets file operations run on another thread, one after the other, while the window stays alive. The user
/// can do nothing else meanwhile. After two seconds it is shown which file of how many is in hand, with its
/// bytes, and a button that cancels. GUI thread.
class FileWork : public QObject, public FileRunner
{
    Q_OBJECT

public:
    /// @param window over which the progress is shown
    explicit FileWork(QWidget *window);
    ~FileWork() override;

    [[nodiscard]] bool run(const QString &path, Place place, const Work &work) override;
    [[nodiscard]] bool isCancelled() const override { return progress.cancelled; }

private:
    void showProgress(const QString &path, Place place);
    void makeDialog();

    const QPointer<QWidget> window;
    QElapsedTimer sinceStart;
    QElapsedTimer sinceUpdate;
    FileCopy::Progress progress;
    std::unique_ptr<QProgressDialog> dialog;
};
