#pragma once

#include "shared/WheelNotches.h"
#include "viewer/DisplayedImage.h"

#include <QLabel>

#include <optional>

/// Carries the picture of a viewer, centred, and turns the mouse into signals. All decisions are the owner's.
/// Any button drags.
class TImageLabel : public QLabel
{
    Q_OBJECT

public:
    explicit TImageLabel(QWidget *parent = nullptr);

    /// Shows `full` as `displayed` says, on whole pixels of the screen, with a crop rectangle over it if
    /// there is one, device-independent pixels of the view. Nothing is scaled here; painting renders what is
    /// visible.
    void showImage(const QPixmap &full, const DisplayedImage &displayed,
                   const std::optional<QRect> &crop = {});

    /// Reports mouse moves also while no button is held.
    void setCropMode(bool on);

signals:
    void needToResizeImage(int val);
    void startDragImage(QPoint starPos);
    void endDragImage();
    void mouseMove(QPoint globalPoint, QPoint localPoint);
    void mouseLeave();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    bool event(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QPointF imageCorner() const;
    void paintInScreenColours(QPainter &painter, const QRect &exposed) const;

    void pinch(qreal factor);

    WheelNotches wheel;
    qreal pinched = 0; ///< since the last step, as a logarithm
    bool cropMode = false;
    QPixmap fullImage;
    DisplayedImage displayedImage;
    std::optional<QRect> cropDisplayRect;
};
