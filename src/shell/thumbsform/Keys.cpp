#include "shell/Keys.h"

#include "shared/platform/PathIdentity.h"
#include "shell/KeysDialog.h"
#include "shell/ThumbsForm.h"
#include "ui_ThumbsForm.h"

#include <QAbstractSlider>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QMimeData>
#include <QStackedLayout>
#include <QUrl>

#include <utility>

namespace {

constexpr int keyDebounceMs = 10;

} // namespace

/// Lets the keys of the table act, each in its part of the window.
void ThumbsForm::setUpKeys()
{
    const auto partOf = [this](Keys::Place place) -> std::pair<QWidget *, Qt::ShortcutContext> {
        switch (place) {
        case Keys::Place::Photos:
            return {ui->mainListView, Qt::WidgetShortcut};
        case Keys::Place::Viewer:
            return {ui->widget2, Qt::WidgetWithChildrenShortcut};
        default:
            return {this, Qt::WindowShortcut};
        }
    };
    for (const Keys::Key &key : Keys::all()) {
        if (!key.receiver)
            continue;
        const auto [part, context] = partOf(key.place);
        auto *const action = new QAction(part);
        action->setShortcuts(QKeySequence::listFromString(QLatin1String(key.keys)));
        action->setShortcutContext(context);
        auto *const button = findChild<QAbstractButton *>(QLatin1String(key.receiver));
        connect(action, SIGNAL(triggered(bool)), button ? static_cast<QWidget *>(button) : this, key.slot);
        part->addAction(action);
    }
}

bool ThumbsForm::eventFilter(QObject *watched, QEvent *event)
{
    const QWidget *const focus = QApplication::focusWidget();
    if (event->type() == QEvent::ShortcutOverride && focus && focus->window() == window()
        && Keys::isKeptBy(focus, static_cast<QKeyEvent *>(event)->key())) {
        event->accept();
        return true;
    }
    // They belong to a dialog or a menu that is up, or to a slider.
    const bool isOurs = !QApplication::activeModalWidget() && !QApplication::activePopupWidget()
                        && !qobject_cast<const QAbstractSlider *>(focus);
    if (stackedLayout->currentIndex() == ViewerPage && event->type() == QEvent::KeyPress && isOurs) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const bool isStep = key == Qt::Key_Left || key == Qt::Key_Right;
        if (isStep && !keyPressPending) { // the window's press is the view's as well
            keyPressPending = true;
            step(key == Qt::Key_Left ? PictureLoader::Step::Back : PictureLoader::Step::Forward);
            if (!keyPressTimer) {
                keyPressTimer = new QTimer(this);
                connect(keyPressTimer, SIGNAL(timeout()), SLOT(onKeyPressTimer()));
                keyPressTimer->start(keyDebounceMs);
            }
        }
        if (isStep && watched == ui->scrollArea)
            return true; // or it would scroll as well
    }
    return QObject::eventFilter(watched, event);
}

void ThumbsForm::onKeyPressTimer()
{
    keyPressTimer->stop();
    keyPressPending = false;
    std::exchange(keyPressTimer, nullptr)->deleteLater();
}

void ThumbsForm::showKeys()
{
    KeysDialog(this).exec();
}

void ThumbsForm::openCurrentPhoto()
{
    if (ui->mainListView->currentIndex().isValid())
        onDoubleClickListView(ui->mainListView->currentIndex());
}

void ThumbsForm::tickAll()
{
    tickFolder(true);
}

void ThumbsForm::untickAll()
{
    tickFolder(false);
}

/// Puts the selected file on the clipboard, as file managers do.
void ThumbsForm::copyFiles()
{
    QList<QUrl> urls;
    QByteArray operation = "copy";
    for (const QString &file : selectedFiles()) {
        urls.append(QUrl::fromLocalFile(file));
        operation += '\n' + urls.last().toEncoded();
    }
    if (urls.isEmpty())
        return;
    auto *const data = new QMimeData;
    data->setUrls(urls);
    data->setData(QStringLiteral("x-special/gnome-copied-files"),
                  operation); // where URLs alone are only text
    QApplication::clipboard()->setMimeData(data);
}

void ThumbsForm::readAgain()
{
    folderLoad.reload();
}

void ThumbsForm::showFirst()
{
    stepTo(0);
}

void ThumbsForm::showLast()
{
    stepTo(fileList.count() - 1);
}

void ThumbsForm::zoomIn()
{
    onNeedToResizeImage(1);
}

void ThumbsForm::zoomOut()
{
    onNeedToResizeImage(-1);
}
