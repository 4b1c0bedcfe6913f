#include "batch/ImagesToPDFForm.h"

#include "batch/ImagesToPDFProgressForm.h"
#include "shared/dialogs/FileDialog.h"
#include "shared/dialogs/MessageBox.h"
#include "shared/platform/FolderPicker.h"
#include "ui_ImagesToPDFForm.h"

#include <QDir>
#include <QFileInfo>

void ImagesToPDFForm::on_createPdfButton_clicked()
{
    if (!convertMode) {
        createPdfFile();
    } else if (!VistamoGlobal::outputFolder.isEmpty()) {
        startConvert(VistamoGlobal::outputFolder);
    } else {
        createAfterFolderSelected = true;
        cocoaCode->requestFolder();
        createAfterFolderSelected = false;
    }
}

void ImagesToPDFForm::createPdfFile()
{
    if (VistamoGlobal::pdfFileName.isEmpty()) {
        const QString path = getPdfSaveFileName();
        if (path.isEmpty())
            return;
        setPdfPath(path);
    }
    if (VistamoGlobal::outputFolder.isEmpty()) {
        const FolderPicker picker;
        VistamoGlobal::outputFolder = picker.selectFolder(picker.documentsFolder(), tr("Select folder ..."));
        saveBatchSettings();
    }
    if (!QFileInfo::exists(VistamoGlobal::outputFolder))
        return;
    if (VistamoGlobal::pdfFileName.right(4).compare(QLatin1String(".pdf"), Qt::CaseInsensitive) != 0)
        VistamoGlobal::pdfFileName += QLatin1String(".pdf");

    // Another name that is chosen from here on is the one that the end of the run offers to open. The PDF
    // itself always goes by the options.
    QString target = VistamoGlobal::outputFolder + QLatin1Char('/') + VistamoGlobal::pdfFileName;
    if (!QFileInfo::exists(QFileInfo(target).path()))
        target = getPdfSaveFileName();
    if (QFileInfo::exists(target)
        && !MessageBox::confirm(tr("Confirm overwrite"), tr("Are you sure you want to overwrite ")
                                                             + QDir::toNativeSeparators(target)
                                                             + QLatin1Char('?')))
        target = getPdfSaveFileName();
    if (!target.isEmpty())
        startConvert(target);
}

QString ImagesToPDFForm::getPdfSaveFileName()
{
    const QString start = QFileInfo::exists(VistamoGlobal::outputFolder) ? VistamoGlobal::outputFolder
                                                                         : FolderPicker().documentsFolder();
    return FileDialog::saveFileName(tr("Save to PDF File"), start, tr("PDF files (*.pdf)"));
}

void ImagesToPDFForm::startConvert(const QString &path)
{
    const TargetFormat format = convertMode ? getTargetFormat() : TargetFormat{"PDF", ".pdf"};
    progressForm = new ImagesToPDFProgressForm(this);
    connect(progressForm, SIGNAL(startConvertSignal()), SLOT(handleStartConvertSignal()));
    connect(progressForm, SIGNAL(finishConvertSignal()), SLOT(handleFinishConvertSignal()));
    progressForm->startRun(fileListModel.paths(), convertMode, path, format.name, format.extension, false);
    updateFormState(State::Running);
    ui->fileListLayout->addWidget(progressForm);
}

TargetFormat ImagesToPDFForm::getTargetFormat() const
{
    const std::initializer_list<std::pair<int, TargetFormat>> formats = {
        {jpgIndex, {"JPG", ".jpg"}},    {jxrIndex, {"JPEG XR", ".jxr"}}, {pngIndex, {"PNG", ".png"}},
        {tiffIndex, {"TIFF", ".tiff"}}, {webpIndex, {"WEBP", ".webp"}},  {gifIndex, {"GIF", ".gif"}},
        {heifIndex, {"HEIF", ".heif"}}, {heicIndex, {"HEIC", ".heic"}},  {avifIndex, {"AVIF", ".avif"}},
        {jxlIndex, {"JPEG XL", ".jxl"}}};
    const int row = ui->targetComboBox->currentIndex();
    for (const auto &[index, format] : formats) {
        if (row >= 0 && index == row)
            return format;
    }
    return {};
}

bool ImagesToPDFForm::isJpgTarget() const
{
    return ui->targetComboBox->currentIndex() == jpgIndex;
}

void ImagesToPDFForm::handleStartConvertSignal()
{
    if (!closeIfRequested())
        setConverting(true);
}

void ImagesToPDFForm::handleFinishConvertSignal()
{
    if (closeIfRequested())
        return;
    setConverting(false);
    updateFormState(State::List);
}

void ImagesToPDFForm::setConverting(bool busy)
{
    for (QWidget *const widget :
         std::initializer_list<QWidget *>{ui->openFileAddButton, ui->clearButton, ui->createPdfButton,
                                          ui->sourceTreeView, ui->noItemFrame})
        widget->setEnabled(!busy);
    ui->removeButton->setEnabled(!busy && itemSelected);
    ui->upButton->setEnabled(!busy && itemSelected && canMoveUp);
    ui->downButton->setEnabled(!busy && itemSelected && canMoveDown);
    ui->optionsWidget->setVisible(!busy);
    ui->outputWidget->setVisible(!busy);
    ui->optionsScrollArea->setVisible(!busy); // its width goes to the progress
}
