#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class AboutDialog;
}

/// The product's title, version and website.
class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDialog(QWidget *parent = nullptr);
    ~AboutDialog() override;

private slots:
    void on_closeButton_clicked();

private:
    std::unique_ptr<Ui::AboutDialog> ui;
};
