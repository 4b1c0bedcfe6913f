#include "shared/dialogs/MessageBox.h"

#include "shared/dialogs/DialogSeam.h"

#include <QMessageBox>
#include <QPushButton>
#include <QTextDocument>

void MessageBox::inform(const QString &title, const QString &text)
{
    if (DialogSeam::answer({DialogSeam::Kind::Message, title, text}))
        return;
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText); // a folder's name is no markup
    box.exec();
}

bool MessageBox::informWithAction(const QString &title, const QString &text, const QString &action)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::MessageWithAction, title, text}))
        return answer->toBool();
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::Ok, nullptr,
                    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    const QPushButton *const actionButton = box.addButton(action, QMessageBox::ActionRole);
    box.setTextFormat(Qt::PlainText);
    box.exec();
    return box.clickedButton() == actionButton;
}

bool MessageBox::confirm(const QString &text, const QString &informativeText)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::Confirm, text, informativeText}))
        return answer->toBool();
    QMessageBox box;
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    // This label guesses what it gets, and a path is no markup.
    box.setInformativeText(Qt::mightBeRichText(informativeText) ? Qt::convertFromPlainText(informativeText)
                                                                : informativeText);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}
