#include "viewer/VistamoProcessImageThread.h"

#include "shared/VistamoGlobal.h"
#include "viewer/ViewGeometry.h"

#include <algorithm>
#include <cmath>

namespace {

// A view of a large picture in real size: 128 MB.
constexpr qreal mostPixels = 32e6;

/// The size in which a view is computed: never more than the picture has to give.
QSize workingSize(QSize view, QSize full)
{
    const qreal pixels = qreal(view.width()) * view.height();
    const qreal factor = std::min({1.0, qreal(full.width()) / view.width(), std::sqrt(mostPixels / pixels)});
    return factor == 1.0 ? view : (QSizeF(view) * factor).toSize().expandedTo(QSize(1, 1));
}

QImage filteredView(const TProcessImageRequest &request)
{
    const QImage full = request.pixmap.toImage();
    const QSize view = scaledToWidth(full.size(), request.width);
    if (view.isEmpty())
        return {};
    const QSize size = workingSize(view, full.size());
    const auto mode = request.transformationMode == 1 ? Qt::SmoothTransformation : Qt::FastTransformation;
    QImage image =
        VistamoGlobal().applyFilters(full.scaled(size, Qt::IgnoreAspectRatio, mode), request.contrast,
                                     request.brightness, request.gamma, request.invertColours);
    image.setDevicePixelRatio(qreal(size.width()) / view.width());
    return image;
}

} // namespace

VistamoProcessImageThread::VistamoProcessImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("ProcessImage"));
}

void VistamoProcessImageThread::addRequest(const TProcessImageRequest &request)
{
    requestList.push(request);
}

void VistamoProcessImageThread::setFinishRequested()
{
    requestList.finish(finishRequested);
}

void VistamoProcessImageThread::stop()
{
    StoppableThread::stop();
    setFinishRequested();
}

void VistamoProcessImageThread::run()
{
    while (!stopRequested) {
        const auto request = requestList.waitForNewest(finishRequested);
        if (!request)
            return;
        emit resultAvailable(filteredView(*request));
    }
}
