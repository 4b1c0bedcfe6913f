#include "batch/ImagesToPDFForm.h"

#include "shared/dialogs/FileDialog.h"
#include "shared/platform/FolderPicker.h"
#include "ui_ImagesToPDFForm.h"

#include <QDir>
#include <QFileInfo>
#include <QScopedValueRollback>

/// An option that the user changed; nothing while the form itself changes its widgets.
template <typename Option>
void ImagesToPDFForm::setOption(Option &option, Option value)
{
    if (!uiReady)
        return;
    option = value;
    saveBatchSettings();
}

void ImagesToPDFForm::on_pdfPageOrientationPortraitButton_clicked()
{
    if (!uiReady)
        return;
    setPageOrientation(0);
    saveBatchSettings();
}

void ImagesToPDFForm::on_pdfPageOrientationLanscapeButton_clicked()
{
    if (!uiReady)
        return;
    setPageOrientation(1);
    saveBatchSettings();
}

void ImagesToPDFForm::setPageOrientation(int orientation)
{
    VistamoGlobal::pageOrientation = orientation;
    ui->pdfPageOrientationLanscapeButton->setChecked(orientation == 1);
    ui->pdfPageOrientationPortraitButton->setChecked(orientation != 1);
}

void ImagesToPDFForm::on_pdfPaperSizeComboBox_currentIndexChanged(int index)
{
    setOption(VistamoGlobal::pageSize, index);
}

void ImagesToPDFForm::on_pdfNoMarginButton_clicked()
{
    if (!uiReady)
        return;
    setPageMargin(0);
    saveBatchSettings();
}

void ImagesToPDFForm::on_pdfAddMarginButton_clicked()
{
    if (!uiReady)
        return;
    setPageMargin(1);
    saveBatchSettings();
}

void ImagesToPDFForm::setPageMargin(int value)
{
    VistamoGlobal::pageMargin = value;
    ui->pdfNoMarginButton->setChecked(value == 0);
    ui->pdfAddMarginButton->setChecked(value != 0);
    ui->pdfMarginSizeLabel->setVisible(value != 0);
    ui->pdfMarginSizeSpinBox->setVisible(value != 0);
}

void ImagesToPDFForm::on_pdfMarginSizeSpinBox_valueChanged(int value)
{
    setOption(VistamoGlobal::pageMarginSize, value);
}

void ImagesToPDFForm::on_pdfQualityComboBox_currentIndexChanged(int index)
{
    setOption(VistamoGlobal::pdfQuality, index);
}

void ImagesToPDFForm::on_pdfResizeImageToPaperCheckBox_clicked()
{
    setOption(VistamoGlobal::resizeImageToPaper, ui->pdfResizeImageToPaperCheckBox->isChecked());
}

void ImagesToPDFForm::on_pdfSmoothEdgesCheckBox_clicked()
{
    setOption(VistamoGlobal::pdfSmoothEdges, ui->pdfSmoothEdgesCheckBox->isChecked());
}

void ImagesToPDFForm::on_targetComboBox_currentIndexChanged(int index)
{
    if (!uiReady)
        return;
    const QScopedValueRollback<bool> closed(uiReady, false);
    ui->qualityLabel->setVisible(isJpgTarget());
    ui->qualitySpinBox->setVisible(isJpgTarget());
    VistamoGlobal::targeFileType = index;
    saveBatchSettings();
}

void ImagesToPDFForm::on_qualitySpinBox_valueChanged(int arg1)
{
    if (!uiReady)
        return;
    const QScopedValueRollback<bool> closed(uiReady, false);
    VistamoGlobal::targeFileQuality = arg1;
    saveBatchSettings();
}

void ImagesToPDFForm::on_outputFolderButton_clicked()
{
    if (!uiReady)
        return;
    const QScopedValueRollback<bool> closed(uiReady, false);
    createAfterFolderSelected = false;
    cocoaCode->requestFolder();
}

void ImagesToPDFForm::on_FolderSelected(QString path)
{
    if (path.isEmpty() || !QFileInfo::exists(path))
        return;
    VistamoGlobal::outputFolder = path;
    ui->outputFolderLineEdit->setText(QDir::toNativeSeparators(path));
    saveBatchSettings();
    if (createAfterFolderSelected)
        on_createPdfButton_clicked();
}

void ImagesToPDFForm::on_pdfFilenameButton_clicked()
{
    if (!uiReady)
        return;
    const QScopedValueRollback<bool> closed(uiReady, false);
    const QString start = QFileInfo::exists(VistamoGlobal::outputFolder) ? VistamoGlobal::outputFolder
                                                                         : FolderPicker().picturesFolder();
    const QString path =
        FileDialog::saveFileName(tr("Save to PDF File"), start, tr("PDF files (*.pdf)"), this);
    if (path.isEmpty())
        return;
    setPdfPath(path);
}

void ImagesToPDFForm::setPdfPath(const QString &path)
{
    VistamoGlobal::outputFolder = QFileInfo(path).path();
    VistamoGlobal::pdfFileName = QFileInfo(path).fileName();
    ui->outputFolderLineEdit->setText(QDir::toNativeSeparators(VistamoGlobal::outputFolder));
    ui->pdfFilenameLineEdit->setText(VistamoGlobal::pdfFileName);
    saveBatchSettings();
}
