#include "fileops/FileWork.h"

#include "shared/VistamoGlobal.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QProgressDialog>
#include <QTimer>

#include <limits>
#include <thread>

namespace {

constexpr qint64 shownAfterMs = 2000;
constexpr int updateMs = 100;
constexpr int steps = 1000;

} // namespace

FileWork::FileWork(QWidget *window)
    : window(window)
{
    sinceStart.start();
    sinceUpdate.start();
}

FileWork::~FileWork() = default;

bool FileWork::run(const QString &path, const Work &work)
{
    bool result = false;
    bool done = false;
    std::thread thread([&] {
        result = work(progress);
        QMetaObject::invokeMethod(
            this, [&done] { done = true; }, Qt::QueuedConnection);
    });
    QTimer wake;
    wake.start(updateMs);
    // Events one by one, and not a loop of its own: nothing that waits to be deleted goes meanwhile, and the
    // end of the program comes after the work.
    QEventLoop events;
    while (!done) {
        showProgress(path);
        const bool dialogIsUp = dialog && !isCancelled();
        events.processEvents(QEventLoop::WaitForMoreEvents
                             | (dialogIsUp ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents));
    }
    thread.join();
    return result;
}

/// Makes the dialog once its time has come, and says how far the work is.
void FileWork::showProgress(const QString &path)
{
    if (!sinceStart.hasExpired(shownAfterMs) || !sinceUpdate.hasExpired(updateMs) || isCancelled())
        return;
    sinceUpdate.start();
    if (!dialog)
        makeDialog();
    const auto size = [](qint64 bytes) {
        return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
    };
    const qint64 total = progress.total;
    dialog->setLabelText(QFileInfo(path).fileName() + QLatin1Char('\n') + size(progress.done)
                         + QStringLiteral(" / ") + size(total));
    dialog->setValue(total > 0 ? static_cast<int>(steps * progress.done / total) : 0);
}

void FileWork::makeDialog()
{
    dialog = std::make_unique<QProgressDialog>(window);
    auto *const label = new QLabel;
    label->setTextFormat(Qt::PlainText); // a file's name is no markup
    dialog->setLabel(label);
    dialog->setWindowTitle(VistamoGlobal().getAppTitle());
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->setMinimumDuration(std::numeric_limits<int>::max());
    dialog->setAutoClose(false);
    dialog->setAutoReset(false);
    dialog->setRange(0, steps);
    connect(dialog.get(), &QProgressDialog::canceled, this, [this] { progress.cancelled = true; });
    dialog->show();
}
