#include "shell/ThumbsForm.h"

#include "shared/Background.h"
#include "ui_ThumbsForm.h"
#include "viewer/VistamoFilterDialog.h"

#include <QKeyEvent>
#include <QStackedLayout>
#include <QtDebug>

#include <utility>

namespace {

constexpr int keyDebounceMs = 10;

ImageRequest fileOf(const TFileRecord &record)
{
    return {record.fullPath, record.size, record.modifiedTime};
}

} // namespace

void ThumbsForm::loadImage()
{
    if (const TFileRecord *const record = fileList.at(selectedImageIndex))
        loadImage(record->fullPath);
}

void ThumbsForm::loadImage(const QString &path)
{
    viewerClosed = false;
    const bool hasNeighbours = fileList.count() >= 2;
    ui->backButton->setVisible(hasNeighbours);
    ui->forwardButton->setVisible(hasNeighbours);
    stackedLayout->setCurrentIndex(ViewerPage);
    // A page that has just come up has the size of its last show until its layout is done.
    stackedLayout->activate();
    ui->widget2->layout()->activate();
    loadSelectedImage(path);
    placeNavigationButtons();
}

void ThumbsForm::loadSelectedImage(const QString &path)
{
    qDebug() << "loadSelectedImage: " << path;
    shownPath = path;
    actionWhenLoaded = nullptr;
    cropTool.setPreviousImageSize(pictureView.picture().size());
    QPixmap previous = pictureView.exchange(placeholder(path));
    refit();
    Background::free(std::move(previous));

    decodedAhead.pause();
    if (loadImageThread.isActive() && loadImageThread->hangs())
        replaceHangingLoader();
    ImageRequest request = {path};
    if (const TFileRecord *const record = fileList.at(selectedImageIndex); record && record->fullPath == path)
        request = decodedAhead.request(fileOf(*record));
    if (loadImageThread.isActive())
        loadImageThread->addFile(request);
    else
        startLoadImageThread({request});
    emit changeTitle(VistamoGlobal().getAppTitle() + QLatin1Char('-') + path);
}

/// The thumbnail of the file, cut out of its square; null if the list has none for it.
QPixmap ThumbsForm::placeholder(const QString &path) const
{
    const TFileRecord *const record = fileList.at(selectedImageIndex);
    return record && record->fullPath == path ? fileList.thumbnail(selectedImageIndex) : QPixmap();
}

/// Leaves a loader behind whose drive does not answer, and goes on with what waits behind that picture.
void ThumbsForm::replaceHangingLoader()
{
    QList<ImageRequest> waiting = loadImageThread->takeWaiting();
    for (ImageRequest &request : waiting)
        request.decoded.reset(); // it may be what hangs
    loadImageThread.leaveBehind();
    startLoadImageThread(waiting);
}

void ThumbsForm::startLoadImageThread(const QList<ImageRequest> &requests)
{
    using Thread = VistamoLoadImageThread;
    loadImageThread.set(std::make_unique<Thread>());
    loadImageThread.on(&Thread::imageLoaded, [this](const QPixmap &pixmap) { onImageLoaded(pixmap); });
    for (const ImageRequest &request : requests)
        loadImageThread->addFile(request);
    loadImageThread.start(QThread::InheritPriority, [this](Thread &ended) {
        // What was asked for while the thread was ending goes to the next one.
        const QList<ImageRequest> waiting = ended.takeWaiting();
        if (waiting.isEmpty())
            onLoadImageFinished();
        else
            startLoadImageThread(waiting);
    });
}

void ThumbsForm::onImageLoaded(QPixmap pixmap)
{
    QPixmap previous = pictureView.exchange(pixmap);
    ui->sizeInfoLabel->setText(QStringLiteral("%1x%2").arg(pixmap.width()).arg(pixmap.height()));
    initCropMode();
    refit();
    Background::free(std::move(previous));
}

void ThumbsForm::onLoadImageFinished()
{
    decodeNeighbours();
    pictureView.reduce();
    if (const auto action = std::exchange(actionWhenLoaded, nullptr))
        action();
}

/// Has the neighbours of the picture on show decoded, the one in the direction of the last step first.
void ThumbsForm::decodeNeighbours()
{
    QList<ImageRequest> files;
    const int count = fileList.count();
    const int next = nextIndex(selectedImageIndex, count);
    const int previous = previousIndex(selectedImageIndex, count);
    for (const int row : {steppedBack ? previous : next, steppedBack ? next : previous}) {
        if (const TFileRecord *const record = fileList.at(row);
            record && !viewerClosed && row != selectedImageIndex)
            files.append(fileOf(*record));
    }
    decodedAhead.want(files, pictureView.picture());
}

void ThumbsForm::showNextImage()
{
    steppedBack = false;
    stepTo(nextIndex(selectedImageIndex, fileList.count()));
}

void ThumbsForm::showPreviousImage()
{
    steppedBack = true;
    stepTo(previousIndex(selectedImageIndex, fileList.count()));
}

void ThumbsForm::stepTo(int index)
{
    selectedImageIndex = index;
    if (pictureView.mode() == ScaleMode::RealSize || pictureView.mode() == ScaleMode::Free) {
        setImageScale(ScaleMode::Fit);
        refit();
    }
    loadImage();
    ui->galleryTableView->selectColumn(selectedImageIndex);
}

void ThumbsForm::on_forwardButton_clicked()
{
    showNextImage();
}

void ThumbsForm::on_backButton_clicked()
{
    showPreviousImage();
}

void ThumbsForm::on_forward2Button_clicked()
{
    showNextImage();
}

void ThumbsForm::on_back2Button_clicked()
{
    showPreviousImage();
}

bool ThumbsForm::eventFilter(QObject *watched, QEvent *event)
{
    if (stackedLayout->currentIndex() == ViewerPage && event->type() == QEvent::KeyPress
        && !keyPressPending) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Left || key == Qt::Key_Right) {
            keyPressPending = true;
            if (key == Qt::Key_Left)
                showPreviousImage();
            else
                showNextImage();
            if (!keyPressTimer) {
                keyPressTimer = new QTimer(this);
                connect(keyPressTimer, SIGNAL(timeout()), SLOT(onKeyPressTimer()));
                keyPressTimer->start(keyDebounceMs);
            }
            ui->galleryTableView->selectColumn(selectedImageIndex);
        }
    }
    return QObject::eventFilter(watched, event);
}

void ThumbsForm::onKeyPressTimer()
{
    keyPressTimer->stop();
    keyPressPending = false;
    std::exchange(keyPressTimer, nullptr)->deleteLater();
}

void ThumbsForm::onResetImageAction()
{
    // The row may hold another file by now.
    if (fileList.at(selectedImageIndex))
        loadSelectedImage(shownPath);
}

void ThumbsForm::on_closeButton_clicked()
{
    if (filterDialog)
        filterDialog->close();
    viewerClosed = true;
    decodeNeighbours(); // none any more
    emit changeTitle(VistamoGlobal().getAppTitle());
    stackedLayout->setCurrentIndex(BrowserPage);
}
