#pragma once

#include <QPoint>

#include <optional>

class QAbstractScrollArea;

/// Scrolls a picture that is larger than its view along with the pointer, from press to release. Points are
/// global.
class Panning
{
public:
    void begin(QPoint point) { imageDragPos = point; }
    void end() { imageDragPos.reset(); }

    /// Follows the pointer there; nothing unless started.
    void moveTo(QPoint point, const QAbstractScrollArea &view);

private:
    std::optional<QPoint> imageDragPos; ///< where the pointer was last; nothing unless started
};
