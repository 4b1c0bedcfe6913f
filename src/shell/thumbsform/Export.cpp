#include "shell/ThumbsForm.h"

#include "shared/dialogs/FileDialog.h"
#include "ui_ThumbsForm.h"

#include <QClipboard>
#include <QGuiApplication>

namespace {

/// What gives the picture on show, on any thread: where a thumbnail stands in for it, by waiting for the
/// picture, or decoding it, and editing it as the thumbnail was.
std::function<QImage()> shownPicture(const PictureLoader &loader, const PictureView &view)
{
    if (!loader.loadImageThreadRunning())
        return [picture = view.picture()] { return picture.toImage(); };
    return [file = loader.request(), edit = view.edits()] { return edit(pictureOf(file).toImage()); };
}

} // namespace

void ThumbsForm::imageFileActionClicked(bool)
{
    exportImage(shownPicture(pictureLoader, pictureView));
}

void ThumbsForm::on_exportCropImageButton_clicked()
{
    const bool isStandIn = pictureLoader.loadImageThreadRunning();
    exportImage([=, tool = cropTool, picture = shownPicture(pictureLoader, pictureView)]() mutable {
        const QImage image = picture();
        if (isStandIn)
            tool.init(image.size()); // as when the picture comes
        return image.copy(tool.rect());
    });
}

void ThumbsForm::pasteboardActionMenuClicked(bool)
{
    if (pictureLoader.loadImageThreadRunning()) {
        exports.make(shownPicture(pictureLoader, pictureView));
        return;
    }
    exports.dropMade(); // or an older picture would take this one's place
    QGuiApplication::clipboard()->setImage(pictureView.picture().toImage());
}

/// Tells how far exports are that take longer than a moment.
void ThumbsForm::onExportsWorking(qsizetype left)
{
    ui->exportLabel->setText(tr("Exporting, %1 left").arg(left));
    ui->exportLabel->setVisible(left > 0);
}

void ThumbsForm::onSaveImageFinished()
{
    ui->exportLabel->hide();
}

/// Asks for a path, at which the next dialog starts, and exports a picture there, whatever is on show by
/// then.
void ThumbsForm::exportImage(const std::function<QImage()> &picture)
{
    const QString source = pictureLoader.shown();
    const bool isTurned = pictureView.isTurned();
    const QString path = FileDialog::saveFileNameWithSuffix(
        tr("Save to Image File"), VistamoGlobal::exportImagePath,
        tr("PNG file (*.png);;JPG file (*.jpg);;TIFF file (*.tiff);;GIF file (*.gif)"));
    if (path.isEmpty())
        return;
    VistamoGlobal::exportImagePath = path;
    exports.add(picture, path, source, isTurned);
}
