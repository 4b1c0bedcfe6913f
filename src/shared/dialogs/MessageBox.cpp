#include "shared/dialogs/MessageBox.h"

#include "shared/dialogs/DialogSeam.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

void MessageBox::inform(const QString &title, const QString &text)
{
    if (DialogSeam::answer({DialogSeam::Kind::Message, title, text}))
        return;
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, QApplication::activeWindow());
    box.setTextFormat(Qt::PlainText); // a folder's name is no markup
    box.exec();
}

bool MessageBox::informWithAction(const QString &title, const QString &text, const QString &action)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::MessageWithAction, title, text}))
        return answer->toBool();
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, QApplication::activeWindow(),
                    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    const QPushButton *const actionButton = box.addButton(action, QMessageBox::ActionRole);
    box.setEscapeButton(QMessageBox::Ok); // of two, Qt picks none by itself
    box.setTextFormat(Qt::PlainText);
    box.exec();
    return box.clickedButton() == actionButton;
}

bool MessageBox::confirm(const QString &text, const QString &informativeText)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::Confirm, text, informativeText}))
        return answer->toBool();
    QMessageBox box(QApplication::activeWindow());
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setInformativeText(informativeText);
    // Before Qt 6.8 this label guesses what it gets, and a path is no markup.
    if (auto *const label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setTextFormat(Qt::PlainText);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}
