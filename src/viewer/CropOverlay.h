#pragma once

#include <QRect>

class QPainter;

/// Shades the view but for the crop rectangle, and draws that rectangle's frame and handles.
/// @param view    the picture as shown, pixels
/// @param display the crop rectangle; it may reach beyond the view and be turned over
void paintCropOverlay(QPainter &painter, const QRect &view, const QRect &display);
