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

bool FileWork::run(const QString &path, Place place, const Work &work)
{
    progress.done = 0;
    progress.total = 0; // stays so where no bytes are moved
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
        showProgress(path, place);
        const bool dialogIsUp = dialog && !isCancelled();
        events.processEvents(QEventLoop::WaitForMoreEvents
                             | (dialogIsUp ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents));
    }
    thread.join();
    return result;
}

/// Makes the dialog once its time has come, and says how far the work is.
void FileWork::showProgress(const QString &path, Place place)
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
    const qint64 done = progress.done;
    QStringList reached;
    if (place.count > 1)
        reached.append(tr("%1 of %2").arg(place.number).arg(place.count));
    if (total > 0)
        reached.append(size(done) + QStringLiteral(" / ") + size(total));
    dialog->setLabelText(QFileInfo(path).fileName() + QLatin1Char('\n') + reached.join(QStringLiteral(", ")));
    const double files = static_cast<double>(place.number - 1)
                         + (total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0.0);
    dialog->setValue(static_cast<int>(steps * files / static_cast<double>(place.count)));
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
