#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class OptionsDialog;
}

/// The program's options, all of them for the slideshow. Each change is stored at once and reaches the next
/// show.
class OptionsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit OptionsDialog(QWidget *parent);
    ~OptionsDialog() override;

    /// Shows the stored options.
    void initDialog();

private slots:
    void on_bkColorButton_clicked();
    void on_delaySpinBox_valueChanged(int arg1);
    void on_countdownCheckBox_stateChanged(int arg1);

private:
    void saveOptions() const;
    void showColour();

    const std::unique_ptr<Ui::OptionsDialog> ui;
    bool dialogReady = false;
};
