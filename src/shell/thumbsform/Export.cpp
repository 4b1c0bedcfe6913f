#include "shell/ThumbsForm.h"

#include "shared/dialogs/FileDialog.h"

#include <QClipboard>
#include <QGuiApplication>

void ThumbsForm::imageFileActionClicked(bool)
{
    pictureLoader.whenLoaded([this] { exportImage(pictureView.picture()); });
}

void ThumbsForm::on_exportCropImageButton_clicked()
{
    pictureLoader.whenLoaded(
        [this] { exportImage(QPixmap::fromImage(pictureView.picture().toImage().copy(cropTool.rect()))); });
}

void ThumbsForm::pasteboardActionMenuClicked(bool)
{
    pictureLoader.whenLoaded(
        [this] { QGuiApplication::clipboard()->setImage(pictureView.picture().toImage()); });
}

/// Asks for a path, at which the next dialog starts, and exports the picture there. It is the one that was on
/// show before the question: arrow keys in the dialog step the viewer too.
void ThumbsForm::exportImage(QPixmap picture)
{
    const QString source = pictureLoader.shown();
    const QString path = FileDialog::saveFileNameWithSuffix(
        tr("Save to Image File"), VistamoGlobal::exportImagePath,
        tr("PNG file (*.png);;JPG file (*.jpg);;TIFF file (*.tiff);;GIF file (*.gif)"));
    if (path.isEmpty())
        return;
    VistamoGlobal::exportImagePath = path;
    exports.add(picture, path, source);
}
