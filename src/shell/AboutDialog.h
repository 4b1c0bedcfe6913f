#pragma once

#include <QDialog>
#include <QUrl>

#include <memory>

namespace Ui {
class AboutDialog;
}

/// The maker's web page.
QUrl websiteUrl();

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
