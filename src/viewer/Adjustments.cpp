#include "viewer/Adjustments.h"

#include "viewer/ColourFilters.h"

void Adjustments::start()
{
    if (processImageThread.isActive())
        return;
    using Thread = VistamoProcessImageThread;
    processImageThread.set(std::make_unique<Thread>());
    processImageThread.on(&Thread::resultAvailable, [this](const QImage &image) {
        if (adjustmentsActive)
            emit resultAvailable(image);
    });
    processImageThread.start(QThread::InheritPriority, [this](Thread &) {
        // The dialog was opened again while the thread was ending.
        if (adjustmentsActive)
            start();
        emit finished();
    });
}

void Adjustments::requestFinish()
{
    if (processImageThread.isActive())
        processImageThread->setFinishRequested();
}

void Adjustments::setFilter(int contrast, int brightness, int gamma, int invertColours)
{
    this->contrast = contrast;
    this->brightness = brightness;
    this->gamma = gamma;
    this->invertColours = invertColours;
}

void Adjustments::request(const QPixmap &picture, int width, bool highQuality)
{
    Q_ASSERT_X(adjustmentsActive, Q_FUNC_INFO, "the dialog is closed");
    if (processImageThread.isActive())
        processImageThread->addRequest(
            {picture, highQuality ? 1 : 0, width, contrast, brightness, gamma, invertColours});
}

std::function<QImage(const QImage &)> Adjustments::apply()
{
    cancel();
    return [contrast = contrast, brightness = brightness, gamma = gamma,
            invertColours = invertColours](const QImage &picture) {
        return ColourFilters::applyAdjustments(picture, contrast, brightness, gamma, invertColours);
    };
}

void Adjustments::cancel()
{
    adjustmentsActive = false;
    requestFinish();
}
