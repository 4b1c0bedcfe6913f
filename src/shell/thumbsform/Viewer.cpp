#include "shell/ThumbsForm.h"

#include "shared/platform/PathIdentity.h"
#include "shared/threads/Background.h"
#include "ui_ThumbsForm.h"
#include "viewer/VistamoFilterDialog.h"

#include <QApplication>
#include <QDir>
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

/// The row beside a file, around both ends. One that has left stands between two rows.
int neighbourOf(const QString &path, PictureLoader::Step direction, const FileList &files)
{
    const int row = files.rowOf(path);
    const int place = row >= 0 ? row : files.placeOf(path);
    return direction == PictureLoader::Step::Back ? previousIndex(place, files.count())
                                                  : nextIndex(row >= 0 ? row : place - 1, files.count());
}

} // namespace

void ThumbsForm::loadImage()
{
    if (const TFileRecord *const record = fileList.at(selectedImageIndex))
        loadImage(record->fullPath);
}

void ThumbsForm::loadImage(const QString &path)
{
    pictureLoader.open();
    stackedLayout->setCurrentIndex(ViewerPage);
    // A page that has just come up has the size of its last show until its layout is done.
    stackedLayout->activate();
    ui->widget2->layout()->activate();
    loadSelectedImage(path);
    followShownFile();
    placeNavigationButtons();
}

/// Finds the file on show in the list, which changes under the viewer, or the place that it has left.
void ThumbsForm::followShownFile()
{
    if (pictureLoader.isClosed())
        return;
    const bool hasNeighbours = fileList.count() >= 2;
    ui->backButton->setVisible(hasNeighbours);
    ui->forwardButton->setVisible(hasNeighbours);
    const int row = fileList.rowOf(pictureLoader.shown());
    selectedImageIndex = row >= 0 ? row : fileList.placeOf(pictureLoader.shown());
    if (row >= 0)
        ui->galleryTableView->selectColumn(row);
    else
        ui->galleryTableView->clearSelection();
}

void ThumbsForm::loadSelectedImage(const QString &path)
{
    qDebug() << "loadSelectedImage: " << path;
    // The row may hold another file, or none.
    const TFileRecord *const record = fileList.at(selectedImageIndex);
    const bool listed = record && ExactPath(record->fullPath) == ExactPath(path);
    cropTool.setPreviousImageSize(pictureView.picture().size());
    QPixmap previous = pictureView.standIn(listed ? fileList.thumbnail(selectedImageIndex) : QPixmap());
    refit();
    Background::free(std::move(previous));
    pictureLoader.show(listed ? fileOf(*record) : ImageRequest{path});
    emit changeTitle(VistamoGlobal().getAppTitle() + QLatin1Char('-') + QDir::toNativeSeparators(path));
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
    const auto neighbour = [this](PictureLoader::Step direction) {
        const TFileRecord *const record =
            fileList.at(neighbourOf(pictureLoader.shown(), direction, fileList));
        const bool isOther = record && ExactPath(record->fullPath) != ExactPath(pictureLoader.shown());
        return isOther ? fileOf(*record) : ImageRequest();
    };
    pictureLoader.prefetchNeighbours(neighbour(PictureLoader::Step::Forward),
                                     neighbour(PictureLoader::Step::Back), pictureView.picture());
    pictureView.reduce();
}

/// Shows the next file or the one before, around both ends. A zoom does not survive it.
void ThumbsForm::step(PictureLoader::Step direction)
{
    pictureLoader.setLastStep(direction);
    selectedImageIndex = neighbourOf(pictureLoader.shown(), direction, fileList);
    if (pictureView.mode() == ScaleMode::RealSize || pictureView.mode() == ScaleMode::Free) {
        setImageScale(ScaleMode::Fit);
        refit();
    }
    loadImage();
}

void ThumbsForm::on_forwardButton_clicked()
{
    step(PictureLoader::Step::Forward);
}

void ThumbsForm::on_backButton_clicked()
{
    step(PictureLoader::Step::Back);
}

void ThumbsForm::on_forward2Button_clicked()
{
    step(PictureLoader::Step::Forward);
}

void ThumbsForm::on_back2Button_clicked()
{
    step(PictureLoader::Step::Back);
}

bool ThumbsForm::eventFilter(QObject *watched, QEvent *event)
{
    // They belong to a dialog or a menu that is up.
    const bool isOurs = !QApplication::activeModalWidget() && !QApplication::activePopupWidget();
    if (stackedLayout->currentIndex() == ViewerPage && event->type() == QEvent::KeyPress && isOurs
        && !keyPressPending) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Left || key == Qt::Key_Right) {
            keyPressPending = true;
            step(key == Qt::Key_Left ? PictureLoader::Step::Back : PictureLoader::Step::Forward);
            if (!keyPressTimer) {
                keyPressTimer = new QTimer(this);
                connect(keyPressTimer, SIGNAL(timeout()), SLOT(onKeyPressTimer()));
                keyPressTimer->start(keyDebounceMs);
            }
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
        loadSelectedImage(pictureLoader.shown());
}

void ThumbsForm::on_closeButton_clicked()
{
    if (filterDialog)
        filterDialog->close();
    pictureLoader.close();
    emit changeTitle(VistamoGlobal().getAppTitle());
    stackedLayout->setCurrentIndex(BrowserPage);
    // The list goes on with the picture that was seen last.
    const QModelIndex seen = fileList.list().index(fileList.rowOf(pictureLoader.shown()), 0);
    if (!seen.isValid())
        return;
    ui->mainListView->selectionModel()->setCurrentIndex(seen, QItemSelectionModel::ClearAndSelect);
    stackedLayout->activate();
    ui->widget1->layout()->activate();
    ui->mainListView->scrollTo(seen);
}
