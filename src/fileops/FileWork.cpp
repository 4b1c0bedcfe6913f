#include "fileops/FileWork.h"

#include "shared/VistamoGlobal.h"

#include <QEventLoop>
#include <QFileInfo>
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

FileWork::FileWork(QWidget *parent)
    : QObject(parent)
{
    sinceStart.start();
}

FileWork::~FileWork() = default;

bool FileWork::run(const QString &path, const Work &work)
{
    bool result = false;
    bool done = false;
    QEventLoop loop;
    std::thread thread([&] {
        result = work(progress);
        QMetaObject::invokeMethod(
            &loop,
            [&] {
                done = true;
                loop.quit();
            },
            Qt::QueuedConnection);
    });
    QTimer timer;
    connect(&timer, &QTimer::timeout, &loop, [&] {
        showProgress(path);
        if (dialog)
            loop.quit(); // and on again, with the dialog's button alive
    });
    timer.start(updateMs);
    while (!done)
        loop.exec(dialog ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
    thread.join();
    return result;
}

/// Makes the dialog once its time has come, and says how far the work is.
void FileWork::showProgress(const QString &path)
{
    if (!dialog && !sinceStart.hasExpired(shownAfterMs))
        return;
    if (!dialog) {
        dialog = std::make_unique<QProgressDialog>(qobject_cast<QWidget *>(parent()));
        dialog->setWindowTitle(VistamoGlobal().getAppTitle());
        dialog->setWindowModality(Qt::ApplicationModal);
        dialog->setMinimumDuration(std::numeric_limits<int>::max());
        dialog->setAutoClose(false);
        dialog->setAutoReset(false);
        dialog->setRange(0, steps);
        connect(dialog.get(), &QProgressDialog::canceled, this, [this] { progress.cancelled = true; });
        dialog->show();
    }
    const qint64 total = progress.total;
    const auto size = [](qint64 bytes) {
        return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
    };
    dialog->setLabelText(QFileInfo(path).fileName() + QLatin1Char('\n') + size(progress.done)
                         + QStringLiteral(" / ") + size(total));
    dialog->setValue(total > 0 ? static_cast<int>(steps * progress.done / total) : 0);
}
