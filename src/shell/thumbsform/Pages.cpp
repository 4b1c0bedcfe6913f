#include "shell/ThumbsForm.h"

#include "shell/AboutDialog.h"
#include "ui_ThumbsForm.h"

#include <QApplication>
#include <QDesktopServices>
#include <QStackedLayout>

void ThumbsForm::showEvent(QShowEvent *)
{
    widgetShown = true;
    qApp->installEventFilter(this);
}

void ThumbsForm::resizeEvent(QResizeEvent *)
{
    if (!widgetShown)
        return;
    const int page = stackedLayout->currentIndex();
    if (page == ViewerPage)
        placeNavigationButtons();
    if (page != BrowserPage)
        resizeSelectedImage();
    // The list does not flow again by itself: a row that comes and goes makes it.
    mainModel.appendRow(new QStandardItem);
    qDeleteAll(mainModel.takeRow(mainModel.rowCount() - 1));
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

void ThumbsForm::on_pdfButton_clicked() {}

void ThumbsForm::on_convertButton_clicked() {}

void ThumbsForm::onImagesToPDFAction() {}

void ThumbsForm::onImagesToPdfDestroyed() {}

void ThumbsForm::onCloseToolWidget() {}
