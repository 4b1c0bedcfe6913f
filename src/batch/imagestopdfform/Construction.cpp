#include "batch/ImagesToPDFForm.h"

#include "batch/ImagesToPDFPreviewDialog.h"
#include "batch/ImagesToPDFProgressForm.h"
#include "shared/platform/ColourScheme.h"
#include "ui_ImagesToPDFForm.h"

#include <QBoxLayout>
#include <QDir>

#include <utility>

namespace {

constexpr int listColumnWidth = 500;
constexpr int optionsWidth = 400;

} // namespace

ImagesToPDFForm::ImagesToPDFForm(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ImagesToPDFForm>())
    , cocoaCode(std::make_unique<CocoaCode>())
{
    ui->setupUi(this);
    setUpList();
    fillComboBoxes();
    // No minimum of the widgets, which would count for more than their texts in a large font.
    for (QBoxLayout *const options : {ui->outputLayout, ui->pdfOptionsLayout})
        options->addStrut(optionsWidth - options->contentsMargins().left()
                          - options->contentsMargins().right());
    updateFormState(State::Empty);
    ui->noItemFrame->setAcceptDrops(true);
    // That of the list stays unconnected: what is dropped on it is not added.
    connect(ui->noItemFrame, SIGNAL(addURLs(QList<QUrl>)), SLOT(on_AddURLs(QList<QUrl>)));
    connect(ui->sourceTreeView->selectionModel(), SIGNAL(selectionChanged(QItemSelection, QItemSelection)),
            SLOT(on_itemSelection_changed(QItemSelection, QItemSelection)));
    connect(ui->previewImage, SIGNAL(mouseDoubleClick()), SLOT(on_PreviewImage_DoubleClick()));
    updateItemSelection(0);
    colourButtons();
    collectingTimer.setSingleShot(true);
    connect(&collectingTimer, &QTimer::timeout, ui->collectedLabel, &QWidget::show);
    connect(cocoaCode.get(), SIGNAL(folderSelected(QString)), SLOT(on_FolderSelected(QString)));
    loadSettings();
    uiReady = true;
}

ImagesToPDFForm::~ImagesToPDFForm()
{
    addUrlsThread.release();
    delete progressForm; // ends its run
}

void ImagesToPDFForm::colourButtons()
{
    for (QToolButton *const button : {ui->outputFolderButton, ui->pdfFilenameButton})
        putOnGround(*button, palette());
}

void ImagesToPDFForm::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        colourButtons();
}

void ImagesToPDFForm::setUpList()
{
    fileListModel.setHorizontalHeaderLabels({tr("File List")});
    ui->sourceTreeView->setModel(&fileListModel);
    ui->sourceTreeView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->sourceTreeView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    ui->sourceTreeView->setDragEnabled(true);
    ui->sourceTreeView->setAcceptDrops(true);
    ui->sourceTreeView->setDragDropMode(QAbstractItemView::InternalMove);
    ui->sourceTreeView->setDefaultDropAction(Qt::MoveAction);
    ui->sourceTreeView->setIconSize(QSize(listIconSize, listIconSize));
    ui->sourceTreeView->setUniformRowHeights(true); // three lines and an icon each
    ui->sourceTreeView->setColumnWidth(0, listColumnWidth);
}

void ImagesToPDFForm::fillComboBoxes()
{
    const QStringList papers = {tr("Letter"), tr("A4"), tr("A5"), tr("Legal"), tr("Executive")};
    for (const QString &paper : papers) {
        const int row = ui->pdfPaperSizeComboBox->count();
        VistamoGlobal::pageSizeComboIndex[row] = row;
        ui->pdfPaperSizeComboBox->addItem(paper);
    }
    ui->pdfPaperSizeComboBox->setCurrentIndex(1);
    ui->pdfQualityComboBox->addItems(
        {tr("96 dpi"), tr("150 dpi"), tr("300 dpi"), tr("400 dpi"), tr("600 dpi"), tr("1200 dpi")});
    ui->pdfQualityComboBox->setCurrentIndex(2);

    const std::initializer_list<std::pair<int *, QString>> targets = {
        {&avifIndex, tr("AVIF")}, {&gifIndex, tr("GIF")},   {&heicIndex, tr("HEIC")},
        {&heifIndex, tr("HEIF")}, {&jpgIndex, tr("JPG")},   {&jxlIndex, tr("JPEG XL")},
        {&pngIndex, tr("PNG")},   {&tiffIndex, tr("TIFF")}, {&webpIndex, tr("WEBP")}};
    for (const auto &[row, name] : targets) {
        *row = ui->targetComboBox->count();
        ui->targetComboBox->addItem(name);
    }
}

void ImagesToPDFForm::loadSettings()
{
    loadBatchSettings();
    setPageOrientation(VistamoGlobal::pageOrientation);
    ui->pdfPaperSizeComboBox->setCurrentIndex(VistamoGlobal::pageSize);
    setPageMargin(VistamoGlobal::pageMargin);
    ui->pdfQualityComboBox->setCurrentIndex(VistamoGlobal::pdfQuality);
    ui->pdfMarginSizeSpinBox->setValue(VistamoGlobal::pageMarginSize);
    ui->outputFolderLineEdit->setText(QDir::toNativeSeparators(VistamoGlobal::outputFolder));
    ui->pdfFilenameLineEdit->setText(VistamoGlobal::pdfFileName);
    ui->pdfResizeImageToPaperCheckBox->setChecked(VistamoGlobal::resizeImageToPaper);
    ui->pdfSmoothEdgesCheckBox->setChecked(VistamoGlobal::pdfSmoothEdges);
    ui->targetComboBox->setCurrentIndex(VistamoGlobal::targeFileType);
    ui->qualitySpinBox->setValue(VistamoGlobal::targeFileQuality);
    ui->qualityLabel->setVisible(isJpgTarget());
    ui->qualitySpinBox->setVisible(isJpgTarget());
}

void ImagesToPDFForm::setToolMode(int mode)
{
    convertMode = mode;
    const bool converts = mode != 0;
    for (QWidget *const widget : std::initializer_list<QWidget *>{
             ui->pdfFilenameLabel, ui->pdfFilenameLineEdit, ui->pdfFilenameButton, ui->optionsWidget})
        widget->setVisible(!converts);
    ui->targetLabel->setVisible(converts);
    ui->targetComboBox->setVisible(converts);
    ui->qualityLabel->setVisible(converts && isJpgTarget());
    ui->qualitySpinBox->setVisible(converts && isJpgTarget());
    ui->createPdfButton->setToolTip(converts ? tr("Convert Images") : tr("Create PDF File"));
    ui->createPdfButton->setAccessibleName(ui->createPdfButton->toolTip());
    ui->outputWidget->show();
}

void ImagesToPDFForm::on_backButton_clicked()
{
    emit closeToolWidget();
}

bool ImagesToPDFForm::closeIfRequested()
{
    if (!closeRequested)
        return false;
    emit closeApp();
    close();
    return true;
}
