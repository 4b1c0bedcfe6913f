#include "shell/ThumbsForm.h"

#include "shared/FileDialog.h"

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
    if (loadImageThread.isActive())
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
    startSaveImageThread({{pixmap, path}});
}

/// Hands requests to the thread that writes, or to a new one.
void ThumbsForm::startSaveImageThread(const QList<TSaveImageRequest> &requests)
{
    using Thread = VistamoSaveImageThread;
    const bool running = saveImageThread.isActive();
    if (!running)
        saveImageThread.set(std::make_unique<Thread>());
    for (const TSaveImageRequest &request : requests)
        saveImageThread->addRequest(request.pixmap, request.fileName);
    if (running)
        return;
    saveImageThread.start(QThread::InheritPriority, [this](Thread &ended) {
        // What was asked for while the thread was ending is written all the same.
        if (const auto waiting = ended.takeWaiting(); !waiting.isEmpty())
            startSaveImageThread(waiting);
        else
            onSaveImageFinished();
    });
}

/// At the end of the program: waits for all exports that were asked for.
void ThumbsForm::finishExports()
{
    const std::unique_ptr<VistamoSaveImageThread> thread = saveImageThread.part();
    if (!thread)
        return;
    thread->wait();
    thread->writeRequests(); // asked for while it was ending
}
