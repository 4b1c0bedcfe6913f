#include "shell/ThumbsForm.h"

#include "shared/FileDialog.h"
#include "viewer/VistamoSaveImageThread.h"

#include <QClipboard>
#include <QGuiApplication>

#include <utility>

void ThumbsForm::imageFileActionClicked(bool)
{
    whenLoaded([this] { exportImage(selectedImage); });
}

void ThumbsForm::on_exportCropImageButton_clicked()
{
    whenLoaded([this] { exportImage(QPixmap::fromImage(selectedImage.toImage().copy(cropRect))); });
}

void ThumbsForm::pasteboardActionMenuClicked(bool)
{
    whenLoaded([this] { QGuiApplication::clipboard()->setImage(selectedImage.toImage()); });
}

/// Does something with the picture in full: at once, or as soon as it has taken its thumbnail's place.
/// Another picture or another action takes the place of one that waits.
void ThumbsForm::whenLoaded(const std::function<void()> &action)
{
    if (loadImageThreadRunning)
        actionWhenLoaded = action;
    else
        action();
}

/// Asks for a path and has the picture written there. It is the one that was on show before the question:
/// arrow keys in the dialog step the viewer too.
void ThumbsForm::exportImage(QPixmap picture)
{
    const QString path = askForExportPath();
    if (!path.isEmpty())
        saveImage(picture, path);
}

/// The path that the user chooses, which the next dialog begins at; empty if there is none.
QString ThumbsForm::askForExportPath()
{
    const QString path = FileDialog::saveFileName(
        tr("Save to Image File"), VistamoGlobal::exportImagePath,
        tr("PNG file (*.png);;JPG file (*.jpg);;TIFF file (*.tiff);;GIF file (*.gif)"));
    if (!path.isEmpty())
        VistamoGlobal::exportImagePath = path;
    return path;
}

void ThumbsForm::saveImage(const QPixmap &pixmap, const QString &path)
{
    if (!saveImageThreadRunning) {
        saveImageThreadRunning = true;
        saveImageThread = new VistamoSaveImageThread;
        connect(saveImageThread, SIGNAL(finished()), SLOT(onSaveImageFinished()));
    }
    saveImageThread->addRequest(pixmap, path);
    saveImageThread->start(QThread::InheritPriority); // nothing while it runs
}

void ThumbsForm::onSaveImageFinished()
{
    if (!saveImageThread || saveImageThread->isRunning())
        return;
    // What was asked for while the thread was ending is written all the same.
    if (saveImageThread->hasRequests()) {
        saveImageThread->start(QThread::InheritPriority);
        return;
    }
    saveImageThread->wait();
    delete std::exchange(saveImageThread, nullptr);
    saveImageThreadRunning = false;
}

/// At the end of the program: waits for all exports that were asked for.
void ThumbsForm::finishExports()
{
    if (!saveImageThread)
        return;
    saveImageThread->wait();
    saveImageThread->writeRequests(); // asked for while it was ending
    delete std::exchange(saveImageThread, nullptr);
}
