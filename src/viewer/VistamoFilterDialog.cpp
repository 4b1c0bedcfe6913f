#include "viewer/VistamoFilterDialog.h"

#include "shared/VistamoGlobal.h"
#include "ui_VistamoFilterDialog.h"

#include <algorithm>

namespace {

constexpr int previewSide = 128;

/// The picture at the preview's width. Of one that is much taller than it is wide only the middle, which is
/// what the label shows.
QImage previewOf(const QImage &image)
{
    const qint64 mostRows = 2LL * std::max(image.width(), 1);
    if (image.height() <= mostRows)
        return image.scaledToWidth(previewSide, Qt::FastTransformation);
    const int rows = static_cast<int>(mostRows);
    return image.copy(0, (image.height() - rows) / 2, image.width(), rows)
        .scaledToWidth(previewSide, Qt::FastTransformation);
}

} // namespace

VistamoFilterDialog::VistamoFilterDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::VistamoFilterDialog>())
{
    ui->setupUi(this);
}

VistamoFilterDialog::~VistamoFilterDialog() = default;

void VistamoFilterDialog::setImage(QImage image)
{
    sourceImage = previewImage = previewOf(image);
    ui->previewLabel->setPixmap(QPixmap::fromImage(previewImage));
}

void VistamoFilterDialog::updatePreview()
{
    const int contrast = ui->contrastSlider->value();
    const int brightness = ui->brightnessSlider->value();
    const int gamma = ui->gammaSlider->value();
    const int invertColours = ui->invertColorsSlider->value();
    previewImage = VistamoGlobal().applyFilters(sourceImage, contrast, brightness, gamma, invertColours);
    ui->previewLabel->setPixmap(QPixmap::fromImage(previewImage));
    emit setFilter(contrast, brightness, gamma, invertColours);
}

void VistamoFilterDialog::on_contrastSlider_valueChanged(int value)
{
    updatePreview();
    ui->contrastSpinBox->setValue(value);
}

void VistamoFilterDialog::on_contrastSpinBox_valueChanged(int value)
{
    updatePreview();
    ui->contrastSlider->setValue(value);
}

void VistamoFilterDialog::on_brightnessSlider_valueChanged(int value)
{
    updatePreview();
    ui->brightnessSpinBox->setValue(value);
}

void VistamoFilterDialog::on_brightnessSpinBox_valueChanged(int value)
{
    updatePreview();
    ui->brightnessSlider->setValue(value);
}

void VistamoFilterDialog::on_gammaSlider_valueChanged(int value)
{
    updatePreview();
    ui->gammaSpinBox->setValue(value);
}

void VistamoFilterDialog::on_gammaSpinBox_valueChanged(int value)
{
    updatePreview();
    ui->gammaSlider->setValue(value);
}

void VistamoFilterDialog::on_invertColorsSlider_valueChanged(int value)
{
    updatePreview();
    ui->invertColorsSpinBox->setValue(value);
}

void VistamoFilterDialog::on_invertColorsSpinBox_valueChanged(int value)
{
    updatePreview();
    ui->invertColorsSlider->setValue(value);
}

void VistamoFilterDialog::on_applyButton_clicked()
{
    emit applyChanges();
    close();
}

void VistamoFilterDialog::on_cancelButton_clicked()
{
    emit cancelChanges();
    close();
}

void VistamoFilterDialog::reject()
{
    close();
}

void VistamoFilterDialog::showEvent(QShowEvent *)
{
    emit adjustmentsVisible(true);
}

void VistamoFilterDialog::closeEvent(QCloseEvent *)
{
    emit cancelChanges();
}
