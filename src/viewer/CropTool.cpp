#include "viewer/CropTool.h"

#include <QtDebug>

namespace {

// A crop rectangle that is no wider does not outlive its picture, pixels.
constexpr int narrowestKept = 64;

} // namespace

void CropTool::setPreviousImageSize(QSize size)
{
    if (!size.isEmpty())
        previousImageSize = size;
}

void CropTool::init(QSize picture)
{
    if (picture != previousImageSize || cropRect.width() <= narrowestKept)
        cropRect = defaultCropRect(picture);
}

QRect CropTool::draw(double scaleFactor)
{
    cropDisplayRect = cropRectOnView(cropRect, scaleFactor);
    return cropDisplayRect;
}

bool CropTool::set(void (QRect::*side)(int), int value)
{
    if (!updatingCropRect)
        (cropRect.*side)(value);
    return !updatingCropRect;
}

std::optional<Qt::CursorShape> CropTool::cursorAt(QPoint at)
{
    if (cropDragging())
        return std::nullopt;
    const CropHit hit = cropHit(cropDisplayRect, at);
    cropHandleFarSide = hit.farSide.value_or(cropHandleFarSide);
    return hit.cursor;
}

void CropTool::startDrag(Qt::CursorShape cursor, QPoint point)
{
    const CropResizeMode mode = cropResizeModeFor(cursor, cropHandleFarSide);
    if (mode == CRNone)
        return;
    cropResizeMode = mode;
    cropDragPos = point;
}

bool CropTool::drag(QPoint point, QPoint at, QSize picture, double scaleFactor)
{
    if (!cropDragging())
        return false;
    if (cropResizeMode == CRTopRight)
        qDebug() << "CRTopRight";
    cropRect = draggedCropRect(cropResizeMode, cropRect, picture, scaleFactor, point - cropDragPos, at);
    cropDragPos = point;
    return true;
}
