#include "shell/AboutDialog.h"

#include "shared/VistamoGlobal.h"
#include "ui_AboutDialog.h"

AboutDialog::AboutDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::AboutDialog>())
{
    ui->setupUi(this);
    ui->titleLabel->setText(VistamoGlobal().getAppTitle());
    ui->titleLabel->adjustSize();
    ui->osLabel->setText(tr("for Windows 11/10"));
    ui->osLabel->adjustSize();

    const QString address = VistamoGlobal().getWebsiteUrl().toString();
    ui->webLabel->setTextFormat(Qt::RichText);
    ui->webLabel->setText(QStringLiteral("<a href=\"%1\">%1</a>").arg(address));
    ui->webLabel->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard
                                          | Qt::TextSelectableByMouse);
    ui->webLabel->setOpenExternalLinks(true);
}

AboutDialog::~AboutDialog() = default;

void AboutDialog::on_closeButton_clicked()
{
    close();
}
