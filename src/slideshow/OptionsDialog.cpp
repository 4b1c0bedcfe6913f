#include "slideshow/OptionsDialog.h"

#include "shared/dialogs/ColourDialog.h"
#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "ui_OptionsDialog.h"

#include <algorithm>

OptionsDialog::OptionsDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::OptionsDialog>())
{
    ui->setupUi(this);
    const int widest = std::max(ui->bkColorLabel->minimumWidth(), ui->bkColorLabel->sizeHint().width());
    ui->bkColorLabel->setMinimumWidth(widest); // or a large font is cut
}

OptionsDialog::~OptionsDialog() = default;

void OptionsDialog::initDialog()
{
    VistamoGlobal().loadOptions();
    showColour();
    // The controls store what they are given.
    const bool countdown = VistamoGlobal::showCountdown;
    ui->delaySpinBox->setValue(VistamoGlobal::delay);
    ui->countdownCheckBox->setChecked(countdown);
    if (VistamoGlobal::delay != ui->delaySpinBox->value()) // the smallest stood there already
        on_delaySpinBox_valueChanged(ui->delaySpinBox->value());
    dialogReady = true;
}

/// Paints the swatch.
void OptionsDialog::showColour()
{
    QPalette palette = ui->bkColorWidget->palette();
    palette.setBrush(QPalette::Window, QBrush(VistamoGlobal::bkColor, Qt::SolidPattern));
    ui->bkColorWidget->setAutoFillBackground(true);
    ui->bkColorWidget->setPalette(palette);
}

void OptionsDialog::on_bkColorButton_clicked()
{
    if (!dialogReady)
        return;
    dialogReady = false;
    if (const auto colour = ColourDialog::select(VistamoGlobal::bkColor)) {
        VistamoGlobal::bkColor = *colour;
        showColour();
        saveOptions();
    }
    dialogReady = true;
}

void OptionsDialog::on_delaySpinBox_valueChanged(int arg1)
{
    VistamoGlobal::delay = arg1;
    saveOptions();
}

void OptionsDialog::on_countdownCheckBox_stateChanged(int arg1)
{
    VistamoGlobal::showCountdown = arg1 != 0;
    saveOptions();
}

void OptionsDialog::saveOptions() const
{
    QSettings store = programSettings();
    SlideshowSettings::bkColor.write(store, VistamoGlobal::bkColor);
    SlideshowSettings::delay.write(store, VistamoGlobal::delay);
    SlideshowSettings::showCountdown.write(store, VistamoGlobal::showCountdown);
}
