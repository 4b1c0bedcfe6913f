#pragma once

#include <QPoint>

#include <optional>

class QAbstractScrollArea;

/// Scrolls a picture that is larger than its view along with the pointer, from press to release. Points are
/// global.
class Panning
{
public:
    void begin(QPoint point) { pointer = point; }
    void end() { pointer.reset(); }

    /// Follows the pointer there; nothing unless begun.
    void moveTo(QPoint point, const QAbstractScrollArea &view);

private:
    std::optional<QPoint> pointer; ///< where it was last
};
