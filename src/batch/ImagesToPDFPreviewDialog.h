#pragma once

#include "batch/ImagesToPDFLoadFullPreviewImageThread.h"
#include "shared/threads/Worker.h"
#include "viewer/DisplayedImage.h"
#include "viewer/Panning.h"

#include <QDialog>
#include <QPixmap>
#include <QTimer>

#include <memory>

namespace Ui {
class ImagesToPDFPreviewDialog;
}

/// Shows one file of the batch list in full, to be zoomed and dragged.
class ImagesToPDFPreviewDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ImagesToPDFPreviewDialog(QWidget *parent);
    ~ImagesToPDFPreviewDialog() override;

    /// Decodes a file in the background and shows it fitted; nothing if it does not exist.
    void loadImage(const QString &path);
    void reloadImage() { loadImage(fileName); }

protected:
    void resizeEvent(QResizeEvent *event) override;

private slots:
    void onNeedToResizeImage(int val);
    void onStartDragImage(QPoint point);
    void onEndDragImage();
    void onMouseMove(QPoint point, QPoint localPoint);
    void updateTimer();
    void handleFullPreviewImageReady(QImage image);

private:
    void showFitted();
    void showScale();
    void setContentsSize(QSize size);

    const std::unique_ptr<Ui::ImagesToPDFPreviewDialog> ui;
    QString fileName;
    QPixmap fullPixmap;
    DisplayedImage scaledPixmap; ///< painted out of the full one
    QTimer resizeTimer;
    bool hasAnswer = false; ///< the file was decoded, or could not be
    Worker<ImagesToPDFLoadFullPreviewImageThread> loadThread;
    Panning panning;
    double scale = 0;
};
