#include "shell/ThumbsForm.h"

#include "slideshow/OptionsDialog.h"
#include "slideshow/SlideShowForm.h"
#include "ui_ThumbsForm.h"

#include <QStackedLayout>
#include <QtDebug>

#include <algorithm>

void ThumbsForm::on_slideShowButton_clicked()
{
    if (fileList.count() == 0)
        return;
    widgetShown = false;
    emit enterFullScreen();
    qDebug() << "showSlideShow";
    if (!slideShowForm) {
        slideShowForm = new SlideShowForm(this);
        connect(slideShowForm, SIGNAL(destroyed()), SLOT(onSlideShowDestroyed()));
        connect(slideShowForm, SIGNAL(exitFullScreen()), SLOT(OnExitFullScreen()));
        slideShowForm->loadOptions();
        slideShowForm->show();
        stackedLayout->addWidget(slideShowForm);
    }
    slideShowForm->startShow(std::max(ui->mainListView->currentIndex().row(), 0));
    stackedLayout->setCurrentIndex(stackedLayout->count() - 1);
}

void ThumbsForm::OnExitFullScreen()
{
    if (slideShowForm) {
        stackedLayout->removeWidget(slideShowForm);
        slideShowForm->hide();
        slideShowForm->deleteLater();
    }
    stackedLayout->setCurrentIndex(BrowserPage);
    emit exitFullScreen();
    widgetShown = true;
    fileList.reflow(); // what has changed meanwhile may be laid out for the whole screen
}

void ThumbsForm::onSlideShowDestroyed()
{
    slideShowForm = nullptr;
}

void ThumbsForm::on_optionsButton_clicked()
{
    OptionsDialog dialog(this);
    dialog.initDialog();
    dialog.exec();
}
