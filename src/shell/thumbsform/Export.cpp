#include "shell/ThumbsForm.h"

#include "shared/FileDialog.h"
#include "viewer/VistamoSaveImageThread.h"

#include <QClipboard>
#include <QGuiApplication>

#include <utility>

void ThumbsForm::imageFileActionClicked(bool)
{
    const QString path = askForExportPath();
    if (!path.isEmpty())
        saveImage(selectedImage, path);
}

void ThumbsForm::on_exportCropImageButton_clicked()
{
    const QImage cropped = selectedImage.toImage().copy(cropRect);
    const QString path = askForExportPath();
    if (!path.isEmpty())
        saveImage(QPixmap::fromImage(cropped), path);
}

void ThumbsForm::pasteboardActionMenuClicked(bool)
{
    QGuiApplication::clipboard()->setImage(selectedImage.toImage());
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
    while (saveImageThread) {
        saveImageThread->wait();
        onSaveImageFinished();
    }
}
