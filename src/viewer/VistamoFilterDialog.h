#pragma once

#include <QDialog>
#include <QImage>

#include <memory>

namespace Ui {
class VistamoFilterDialog;
}

/// Sets contrast, brightness, gamma and inverted colours, with a small preview; knows nothing of the picture
/// on show beyond that. It is modeless, and keeps its settings from one opening to the next.
class VistamoFilterDialog : public QDialog
{
    Q_OBJECT

public:
    explicit VistamoFilterDialog(QWidget *parent);
    ~VistamoFilterDialog() override;

    /// The picture of the preview, shown without filters until a control changes.
    void setImage(QImage image);

public slots:
    /// The Escape key: as the Cancel button.
    void reject() override;

signals:
    void setFilter(int contrast, int brightness, int gamma, int invertColours);
    void adjustmentsVisible(bool stat);
    void applyChanges();

    /// Also after `applyChanges`, since the dialog closes then.
    void cancelChanges();

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private slots:
    void on_contrastSlider_valueChanged(int value);
    void on_contrastSpinBox_valueChanged(int value);
    void on_brightnessSlider_valueChanged(int value);
    void on_brightnessSpinBox_valueChanged(int value);
    void on_gammaSlider_valueChanged(int value);
    void on_gammaSpinBox_valueChanged(int value);
    void on_invertColorsSlider_valueChanged(int value);
    void on_invertColorsSpinBox_valueChanged(int value);
    void on_applyButton_clicked();
    void on_cancelButton_clicked();

private:
    void updatePreview();

    const std::unique_ptr<Ui::VistamoFilterDialog> ui;
    QImage sourceImage;
    QImage previewImage;
};
