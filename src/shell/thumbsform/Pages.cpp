#include "shell/ThumbsForm.h"

#include "batch/ImagesToPDFForm.h"
#include "shell/AboutDialog.h"
#include "ui_ThumbsForm.h"

#include <QApplication>
#include <QDesktopServices>
#include <QShowEvent>
#include <QStackedLayout>
#include <QtDebug>
#include <QWindow>

void ThumbsForm::showEvent(QShowEvent *event)
{
    widgetShown = true;
    qApp->installEventFilter(this);
    connect(window()->windowHandle(), SIGNAL(screenChanged(QScreen *)), SLOT(onScreenChanged()),
            Qt::UniqueConnection);
    if (!event->spontaneous()) // or it is the desktop that shows the window again
        focusPage();
}

/// Puts the focus where the eye is.
void ThumbsForm::focusPage()
{
    if (stackedLayout->currentIndex() == ViewerPage)
        ui->scrollArea->setFocus();
    else if (stackedLayout->currentIndex() == BrowserPage)
        (folders.isEmpty() ? static_cast<QWidget *>(ui->noItemFrame) : ui->mainListView)->setFocus();
}

void ThumbsForm::resizeEvent(QResizeEvent *)
{
    if (!widgetShown)
        return;
    const int page = stackedLayout->currentIndex();
    if (page == ViewerPage)
        placeNavigationButtons();
    if (page != BrowserPage)
        refit();
    fileList.reflow();
}

void ThumbsForm::on_aboutButton_clicked()
{
    AboutDialog dialog;
    dialog.exec();
}

void ThumbsForm::on_webButton_clicked()
{
    QDesktopServices::openUrl(VistamoGlobal().getWebsiteUrl());
}

void ThumbsForm::on_pdfButton_clicked()
{
    emit changeTitle(VistamoGlobal().getAppTitle() + tr("-Create a PDF File from Multiple Images"));
    onImagesToPDFAction();
}

void ThumbsForm::onImagesToPDFAction()
{
    prepareBatchForm(0);
    stackedLayout->setCurrentIndex(BatchPage);
}

void ThumbsForm::on_convertButton_clicked()
{
    emit changeTitle(VistamoGlobal().getAppTitle() + tr("-Convert Multiple Images to another Format"));
    prepareBatchForm(1);
    stackedLayout->setCurrentIndex(stackedLayout->count() - 1);
}

/// Makes the batch form if there is none, empties it and hands it the ticked files.
void ThumbsForm::prepareBatchForm(int mode)
{
    if (!imagesToPdfForm) {
        imagesToPdfForm = new ImagesToPDFForm(this);
        connect(imagesToPdfForm, SIGNAL(destroyed()), SLOT(onImagesToPdfDestroyed()));
        connect(imagesToPdfForm, SIGNAL(closeToolWidget()), SLOT(onCloseToolWidget()));
        imagesToPdfForm->show();
        stackedLayout->addWidget(imagesToPdfForm);
    }
    imagesToPdfForm->setToolMode(mode);
    imagesToPdfForm->clearFileList();
    sendCheckedItemsToBatchForm();
}

void ThumbsForm::sendCheckedItemsToBatchForm()
{
    if (!ui->showCheckboxButton->isChecked())
        return;
    QList<VistamoGlobal::TFileData> files;
    for (const QString &file : ticks.files()) {
        files.append({file, -1});
        qDebug() << "fullPath: " << file;
    }
    imagesToPdfForm->setSourceFiles(files);
}

void ThumbsForm::onImagesToPdfDestroyed()
{
    imagesToPdfForm = nullptr;
}

void ThumbsForm::onCloseToolWidget()
{
    stackedLayout->setCurrentIndex(BrowserPage);
    imagesToPdfForm->deleteLater();
    emit changeTitle(VistamoGlobal().getAppTitle());
    folderLoad.reload();
}
