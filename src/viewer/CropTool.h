#pragma once

#include "viewer/CropGeometry.h"

#include <QScopedValueRollback>

/// The crop rectangle of the viewer, which is dragged by the pointer and typed into spin boxes. It may turn
/// over and reach beyond the picture. GUI thread.
///
/// Sizes and scale are the caller's; scale is view / picture.
class CropTool
{
public:
    /// Remembers the size of the picture that is about to be replaced; nothing for an empty size.
    void setPreviousImageSize(QSize size);

    /// Keeps the rectangle for a picture as large as the one before, or makes it the middle quarter.
    void init(QSize picture);

    /// Pixels of the picture.
    [[nodiscard]] QRect rect() const { return cropRect; }

    /// The rectangle in pixels of the view: what is drawn there, and dragged from then on.
    QRect draw(double scaleFactor);

    /// Sets a side or an extent of the rectangle. False, and nothing happens, during `updateSpinBoxes`.
    [[nodiscard]] bool set(void (QRect::*side)(int), int value);

    /// While the result lives, spin boxes show the rectangle and do not change it.
    [[nodiscard]] auto updateSpinBoxes() { return QScopedValueRollback(updatingCropRect, true); }

    /// The cursor for the pointer at `at`, pixels of the view; none during a drag.
    [[nodiscard]] std::optional<Qt::CursorShape> cursorAt(QPoint at);

    /// Starts the drag that the cursor stands for.
    /// @param point the pointer on the screen
    void startDrag(Qt::CursorShape cursor, QPoint point);

    /// One step of a drag; false if there is none.
    /// @param point   the pointer on the screen
    /// @param at      the pointer in the view, pixels
    /// @param picture size of the picture, pixels
    [[nodiscard]] bool drag(QPoint point, QPoint at, QSize picture, double scaleFactor);

    void endDrag() { cropResizeMode = CRNone; }

private:
    bool cropDragging() const { return cropResizeMode != CRNone; }

    QRect cropRect;        ///< pixels of the picture
    QRect cropDisplayRect; ///< the same in pixels of the view, as last drawn
    QSize previousImageSize;
    CropResizeMode cropResizeMode = CRNone; ///< none unless a drag is under way
    bool cropHandleFarSide = false; ///< the edge or corner under the pointer is the right or bottom one
    QPoint cropDragPos;             ///< on the screen, at the last step of the drag
    bool updatingCropRect = false;
};
