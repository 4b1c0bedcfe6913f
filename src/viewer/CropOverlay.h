#pragma once

#include <QRect>

class QPainter;
class QRegion;

/// What has to be painted again of a view when its crop rectangle changes.
[[nodiscard]] QRegion changedByCrop(const QRect &from, const QRect &to);

/// Shades the view around the crop rectangle, and draws that rectangle's frame and handles.
/// @param view    the picture as shown, pixels
/// @param display the crop rectangle; it may reach beyond the view and be turned over
void paintCropOverlay(QPainter &painter, const QRect &view, const QRect &display);
