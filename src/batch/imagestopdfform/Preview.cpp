#include "batch/ImagesToPDFForm.h"

#include "batch/ImagesToPDFPreviewDialog.h"
#include "library/ThumbnailDatabase.h"
#include "ui_ImagesToPDFForm.h"

#include <QFileInfo>

namespace {

constexpr int tickMs = 100;
constexpr int ticksToWait = 15;

} // namespace

void ImagesToPDFForm::showPreviewImage(const QString &path, bool force)
{
    if (closeIfRequested())
        return;
    TThumbnailRecord record = ThumbnailDatabase::keyOf(QFileInfo(path));
    const bool asked = VistamoGlobal().getThumbnail(record, VistamoGlobal::thumbnailTableName,
                                                    VistamoGlobal::thumbnailDatabase);
    if (asked && !record.image.isNull()) {
        handleUpdatePreviewImage(record.image);
        return;
    }
    pendingPreviewFile = path;
    pendingPreviewForce = force;
    previewCountdown = ticksToWait;
    if (!updateTimer.isActive()) {
        // Connected once more at each start: the debounce gets shorter each time, as intended.
        connect(&updateTimer, SIGNAL(timeout()), SLOT(on_updateTimer()));
        updateTimer.start(tickMs);
    }
}

void ImagesToPDFForm::on_updateTimer()
{
    if (!updateTimer.isActive())
        return;
    if (previewCountdown < 1) {
        updateTimer.stop();
        loadPreviewImage(pendingPreviewFile, pendingPreviewForce);
    } else {
        --previewCountdown;
    }
}

void ImagesToPDFForm::loadPreviewImage(const QString &path, bool)
{
    if (previewDialog)
        previewDialog->reloadImage();
    currentPreviewFile = path;
    using Thread = ImagesToPDFLoadPreviewImageThread;
    previewThread.set(std::make_unique<Thread>());
    previewThread->fileName = path;
    previewThread->previewSize = ui->previewImage->size();
    previewThread.on(&Thread::updatePreviewImage,
                     [this](const QImage &image) { handleUpdatePreviewImage(image); });
    previewThread.start(QThread::InheritPriority);
}

void ImagesToPDFForm::handleUpdatePreviewImage(QImage image)
{
    if (closeIfRequested())
        return;
    const QSize label = ui->previewImage->size();
    const float rW = static_cast<float>(image.width()) / static_cast<float>(label.width());
    const float rH = static_cast<float>(image.height()) / static_cast<float>(label.height());
    // Of a tall picture, too, the width: the label shows its middle.
    const int side = rW > rH ? label.width() : label.height();
    if (!image.isNull())
        image = image.scaledToWidth(side, Qt::FastTransformation);
    ui->previewImage->setPixmap(QPixmap::fromImage(image));
}

void ImagesToPDFForm::on_PreviewImage_DoubleClick()
{
    // Only the last one is ever spoken to; an earlier one goes when it is closed.
    if (previewDialog && previewDialog->isVisible())
        previewDialog->setAttribute(Qt::WA_DeleteOnClose);
    else
        delete previewDialog;
    previewDialog = new ImagesToPDFPreviewDialog(this);
    previewDialog->loadImage(selectedFile);
    previewDialog->show();
}
