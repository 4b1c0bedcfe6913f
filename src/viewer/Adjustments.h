#pragma once

#include "shared/threads/Worker.h"
#include "viewer/VistamoProcessImageThread.h"

#include <QImage>
#include <QObject>

#include <functional>

/// The settings of the adjustments dialog, and the view through them, which is computed in the background
/// while the dialog is open. GUI thread.
class Adjustments : public QObject
{
    Q_OBJECT

public:
    /// While the dialog is open the view comes by `resultAvailable`.
    void setActive(bool on) { adjustmentsActive = on; }
    [[nodiscard]] bool isActive() const { return adjustmentsActive; }

    /// Starts the thread that requests go to, unless it runs.
    void start();

    /// Lets the thread end as soon as nothing is left to do; `finished` tells of it.
    void requestFinish();

    /// The settings for the next request and for `apply`; they stay from one opening to the next.
    void setFilter(int contrast, int brightness, int gamma, int invertColours);

    /// Asks for a view of `picture`, `width` pixels of the screen wide; nothing before `start`.
    void request(const QPixmap &picture, int width, bool highQuality);

    /// The dialog closes: what applies its settings to a picture.
    [[nodiscard]] std::function<QImage(const QImage &)> apply();

    /// The dialog closes, and the settings are dropped.
    void cancel();

    /// At the end of the program: tells the thread to stop; waits for it.
    void stop() { processImageThread.stop(); }
    void end(QDeadlineTimer deadline) { processImageThread.end(deadline); }

signals:
    /// The newest view that was asked for, as the thread gives it; none comes after the dialog.
    void resultAvailable(QImage image);

    /// The thread has ended. If the dialog is open again a new one runs, which has no request yet.
    void finished();

private:
    bool adjustmentsActive = false; ///< the view comes from `processImageThread`
    int contrast = 0;
    int brightness = 0;
    int gamma = 0;
    int invertColours = 0;
    Worker<VistamoProcessImageThread> processImageThread;
};
