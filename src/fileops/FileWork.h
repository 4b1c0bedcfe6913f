#pragma once

#include "fileops/FileCopy.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>

class QProgressDialog;

/// Lets file operations run on another thread, one after the other, while the window stays alive. The user
/// can do nothing else meanwhile. An operation of more than two seconds shows its file and bytes, with a
/// button that cancels. GUI thread.
class FileWork : public QObject
{
    Q_OBJECT

public:
    using Work = std::function<bool(FileCopy::Progress &)>;

    /// @param window over which the progress is shown
    explicit FileWork(QWidget *window);
    ~FileWork() override;

    /// Runs `work` to its end and gives its result. `path` is the file that is shown.
    bool run(const QString &path, const Work &work);

    /// True once the user has cancelled: nothing more is to be touched.
    bool isCancelled() const { return progress.cancelled; }

private:
    void showProgress(const QString &path);
    void makeDialog();

    const QPointer<QWidget> window;
    QElapsedTimer sinceStart;
    QElapsedTimer sinceUpdate;
    FileCopy::Progress progress;
    std::unique_ptr<QProgressDialog> dialog;
};
