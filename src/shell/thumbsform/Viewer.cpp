#include "shell/ThumbsForm.h"

#include "shared/platform/PathIdentity.h"
#include "shared/threads/Background.h"
#include "ui_ThumbsForm.h"
#include "viewer/VistamoFilterDialog.h"

#include <QDir>
#include <QStackedLayout>
#include <QtDebug>

#include <utility>

namespace {

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
    describePhoto(pictureLoader.loadImageThreadRunning() ? QSize() : pictureView.picture().size());
}

/// Lets a screen reader say which photo is on show.
/// @param size of the photo; empty as long as it is not known
void ThumbsForm::describePhoto(QSize size)
{
    QStringList description = {QFileInfo(pictureLoader.shown()).fileName()};
    if (!size.isEmpty())
        description.append(tr("%1 by %2 pixels").arg(size.width()).arg(size.height()));
    if (const int row = fileList.rowOf(pictureLoader.shown()); row >= 0)
        description.append(tr("%1 of %2").arg(row + 1).arg(fileList.count()));
    ui->scrollArea->setAccessibleName(description.join(QLatin1String(", ")));
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
    describePhoto(pixmap.size());
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

/// Shows the next file or the one before, around both ends.
void ThumbsForm::step(PictureLoader::Step direction)
{
    pictureLoader.setLastStep(direction);
    showRow(neighbourOf(pictureLoader.shown(), direction, fileList));
}

/// Shows the file in a row, if it is another one.
void ThumbsForm::stepTo(int row)
{
    if (row != fileList.rowOf(pictureLoader.shown()))
        showRow(row);
}

/// Shows the file in a row. A zoom does not survive it.
void ThumbsForm::showRow(int row)
{
    selectedImageIndex = row;
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
