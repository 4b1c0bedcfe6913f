#include "shared/platform/HeldFiles.h"

#include <QCoreApplication>
#include <QThread>

namespace {

constexpr int stepMs = 20;

bool isGuiThread()
{
    const QCoreApplication *const application = QCoreApplication::instance();
    return application && QThread::currentThread() == application->thread();
}

} // namespace

bool HeldFiles::tryAgain(const std::function<Outcome()> &operation)
{
    Outcome outcome = operation();
    while (outcome == Outcome::Held && wait())
        outcome = operation();
    return outcome == Outcome::Done;
}

/// No system tells when a file is let go.
bool HeldFiles::wait()
{
    if (isGuiThread() || msLeft.fetch_sub(stepMs) < stepMs)
        return false;
    QThread::msleep(stepMs);
    return true;
}
