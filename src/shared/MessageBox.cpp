#include "shared/MessageBox.h"

#include "shared/DialogSeam.h"

#include <QMessageBox>

void MessageBox::inform(const QString &title, const QString &text)
{
    if (DialogSeam::answer({DialogSeam::Kind::Message, title, text}))
        return;
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText); // a folder's name is no markup
    box.exec();
}
