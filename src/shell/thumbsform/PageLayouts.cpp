#include "shell/thumbsform/PageLayouts.h"

#include "ui_ThumbsForm.h"

#include <QBoxLayout>

namespace {

void addAll(QBoxLayout *layout, const QList<QWidget *> &widgets)
{
    for (QWidget *const widget : widgets)
        layout->addWidget(widget);
}

/// A row with one group of widgets at its left end and one at its right end.
QHBoxLayout *rowOfTwoGroups(const QList<QWidget *> &left, const QList<QWidget *> &right)
{
    auto *const leftGroup = new QHBoxLayout;
    addAll(leftGroup, left);
    leftGroup->setAlignment(Qt::AlignLeft);
    auto *const rightGroup = new QHBoxLayout;
    addAll(rightGroup, right);
    rightGroup->setAlignment(Qt::AlignRight);
    auto *const row = new QHBoxLayout;
    row->addLayout(leftGroup);
    row->addLayout(rightGroup);
    return row;
}

/// Lets the Tab key go through a layout as the eye does. Gives the widget that it comes to last, the first
/// one coming after `last`.
QWidget *orderTabs(const QLayout *layout, QWidget *last = nullptr)
{
    for (int i = 0; layout && i < layout->count(); ++i) {
        QLayoutItem *const item = layout->itemAt(i);
        QWidget *const widget = item->widget();
        if (widget && widget->focusPolicy() & Qt::TabFocus) {
            if (last)
                QWidget::setTabOrder(last, widget);
            last = widget;
        }
        last = orderTabs(widget ? widget->layout() : item->layout(), last);
    }
    return last;
}

} // namespace

void layoutThumbsPage(const Ui::ThumbsForm &ui)
{
    auto *const pathLayout = new QHBoxLayout(ui.pathWidget);
    pathLayout->setContentsMargins(0, 0, 0, 0);
    pathLayout->addWidget(ui.pathValueLabel, 1);
    pathLayout->addWidget(ui.tickCountLabel);

    auto *const noItemLayout = new QVBoxLayout(ui.noItemFrame);
    noItemLayout->setAlignment(Qt::AlignVCenter);
    addAll(noItemLayout, {ui.noItemImageLabel, ui.noItemLabel});

    auto *const listColumn = new QVBoxLayout;
    addAll(listColumn, {ui.mainListView, ui.pathWidget, ui.noItemFrame});
    auto *const browserRow = new QHBoxLayout;
    browserRow->addWidget(ui.sideTreeView);
    browserRow->addLayout(listColumn);

    auto *const page = new QVBoxLayout(ui.widget1);
    page->addLayout(
        rowOfTwoGroups({ui.openFileAddButton, ui.openFileMinButton, ui.line_5, ui.plusButton, ui.minButton,
                        ui.showCheckboxButton, ui.hideCheckboxButton, ui.deleteButton, ui.line_6,
                        ui.toolsButton, ui.optionsButton, ui.slideShowButton, ui.convertButton, ui.pdfButton},
                       {ui.webButton, ui.aboutButton}));
    page->addLayout(browserRow);
    orderTabs(page);
}

void layoutViewerPage(const Ui::ThumbsForm &ui)
{
    ui.widget2->setLayoutDirection(Qt::LeftToRight); // a photo has the same sides everywhere
    QHBoxLayout *const toolRow = rowOfTwoGroups(
        {ui.backButton, ui.forwardButton, ui.line, ui.fitVHButton, ui.fitHButton, ui.fitVButton,
         ui.fullButton, ui.line_2, ui.rotateLeftButton, ui.rotateRightButton, ui.flipHButton, ui.flipVButton,
         ui.cropButton, ui.line_3, ui.galleryButton, ui.adjustButton, ui.line_7, ui.exportButton},
        {ui.closeButton});
    toolRow->setContentsMargins(6, 0, 6, 0);

    constexpr int gapAfterTitle = 40;
    constexpr int gap = 10;
    auto *const cropRow = new QHBoxLayout(ui.cropWidget);
    cropRow->setAlignment(Qt::AlignLeft);
    cropRow->addWidget(ui.cropImagelabel);
    cropRow->addSpacing(gapAfterTitle);
    addAll(cropRow, {ui.leftLabel, ui.leftSpinBox});
    cropRow->addSpacing(gap);
    addAll(cropRow, {ui.topLabel, ui.topSpinBox});
    cropRow->addSpacing(gap);
    addAll(cropRow, {ui.widthLabel, ui.widthSpinBox});
    cropRow->addSpacing(gap);
    addAll(cropRow, {ui.heightLabel, ui.heightSpinBox, ui.line_4, ui.exportCropImageButton});

    auto *const imageRow = new QHBoxLayout;
    imageRow->addWidget(ui.scrollArea);

    auto *const infoRow = new QHBoxLayout(ui.fileInfoWidget);
    infoRow->setAlignment(Qt::AlignLeft);
    infoRow->setContentsMargins(6, 0, 2, 4);
    addAll(infoRow, {ui.sizeInfoLabel, ui.percentResizeLabel, ui.exportLabel});

    auto *const page = new QVBoxLayout(ui.widget2);
    page->setContentsMargins(0, 0, 0, 0);
    page->addLayout(toolRow);
    page->addWidget(ui.cropWidget);
    page->addLayout(imageRow);
    page->addWidget(ui.galleryTableView);
    page->addWidget(ui.fileInfoWidget);
    orderTabs(page);

    for (QToolButton *const floating : {ui.back2Button, ui.forward2Button}) {
        floating->setFocusPolicy(Qt::NoFocus); // the row above has the same
        floating->adjustSize();
        floating->raise();
    }
    ui.cropWidget->hide();
}
