#include "shell/Keys.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QCoreApplication>
#include <QLineEdit>

const QList<Keys::Key> &Keys::all()
{
    static const char *const form = "ThumbsForm";
    static const char *const click = SLOT(click());
    using enum Place;
    static const QList<Key> keys = {
        {Everywhere, "F1", QT_TRANSLATE_NOOP("Keys", "Lists the keys"), form, SLOT(showKeys())},
        {Everywhere, "F11", QT_TRANSLATE_NOOP("Keys", "Takes the full screen, and leaves it"), form,
         SIGNAL(switchFullScreen())},
        {Everywhere, "Ctrl+O", QT_TRANSLATE_NOOP("Keys", "Adds a folder"), "openFileAddButton", click},
        {Everywhere, QT_TRANSLATE_NOOP("Keys", "Tab; Shift+Tab"),
         QT_TRANSLATE_NOOP("Keys", "Goes to the next part of the window, and back")},

        {Folders, QT_TRANSLATE_NOOP("Keys", "Up; Down; Home; End"),
         QT_TRANSLATE_NOOP("Keys", "Shows the folder that it stops at")},

        {Photos, QT_TRANSLATE_NOOP("Keys", "Up; Down; Left; Right; Home; End; PgUp; PgDown"),
         QT_TRANSLATE_NOOP("Keys", "Goes to another photo")},
        {Photos, QT_TRANSLATE_NOOP("Keys", "Letters and digits"),
         QT_TRANSLATE_NOOP("Keys", "Goes to the photo whose name begins with them")},
        {Photos, "Return; Enter", QT_TRANSLATE_NOOP("Keys", "Opens the photo"), form,
         SLOT(openCurrentPhoto())},
        {Photos, QT_TRANSLATE_NOOP("Keys", "Space"),
         QT_TRANSLATE_NOOP("Keys", "Ticks the photo, or takes its tick off")},
        {Photos, QT_TRANSLATE_NOOP("Keys", "Shift+Space"),
         QT_TRANSLATE_NOOP("Keys", "Gives all from the last tick to here the same")},
        {Photos, "Ctrl+A", QT_TRANSLATE_NOOP("Keys", "Ticks all photos of the folder"), form,
         SLOT(tickAll())},
        {Photos, "Ctrl+Shift+A", QT_TRANSLATE_NOOP("Keys", "Takes their ticks off"), form, SLOT(untickAll())},
        {Photos, "Ctrl+C", QT_TRANSLATE_NOOP("Keys", "Copies the file, for a file manager"), form,
         SLOT(copyFiles())},
        {Photos, "Del", QT_TRANSLATE_NOOP("Keys", "Asks whether to move to the trash"), "deleteButton",
         click},
        {Photos, "F2", QT_TRANSLATE_NOOP("Keys", "Renames the file"), form, SLOT(onRenameAction())},
        {Photos, "F5", QT_TRANSLATE_NOOP("Keys", "Reads the folder again"), form, SLOT(readAgain())},
        {Photos, QT_TRANSLATE_NOOP("Keys", "Menu"), QT_TRANSLATE_NOOP("Keys", "Opens the menu of the photo")},
        {Photos, QT_TRANSLATE_NOOP("Keys", "Wheel"),
         QT_TRANSLATE_NOOP("Keys", "Moves the list by a third of a row")},
        {Photos, QT_TRANSLATE_NOOP("Keys", "Ctrl+wheel"),
         QT_TRANSLATE_NOOP("Keys", "Shows the thumbnails larger or smaller")},

        {Viewer, QT_TRANSLATE_NOOP("Keys", "Left; Right"),
         QT_TRANSLATE_NOOP("Keys", "Shows the photo before, or the next one")},
        {Viewer, "Space", QT_TRANSLATE_NOOP("Keys", "Shows the next photo"), "forwardButton", click},
        {Viewer, "Home", QT_TRANSLATE_NOOP("Keys", "Shows the first photo"), form, SLOT(showFirst())},
        {Viewer, "End", QT_TRANSLATE_NOOP("Keys", "Shows the last photo"), form, SLOT(showLast())},
        {Viewer, "+", QT_TRANSLATE_NOOP("Keys", "Zooms in"), form, SLOT(zoomIn())},
        {Viewer, "-", QT_TRANSLATE_NOOP("Keys", "Zooms out"), form, SLOT(zoomOut())},
        {Viewer, "0", QT_TRANSLATE_NOOP("Keys", "Fits the photo into the view"), "fitVHButton", click},
        {Viewer, "1", QT_TRANSLATE_NOOP("Keys", "Shows the photo at its real size"), "fullButton", click},
        {Viewer, "F", QT_TRANSLATE_NOOP("Keys", "Fits the width of the photo"), "fitHButton", click},
        {Viewer, "R", QT_TRANSLATE_NOOP("Keys", "Turns the photo right"), "rotateRightButton", click},
        {Viewer, "Shift+R", QT_TRANSLATE_NOOP("Keys", "Turns the photo left"), "rotateLeftButton", click},
        {Viewer, "C", QT_TRANSLATE_NOOP("Keys", "Shows the crop rectangle, or takes it away"), "cropButton",
         click},
        {Viewer, "Ctrl+S", QT_TRANSLATE_NOOP("Keys", "Exports the whole photo to a file"), form,
         SLOT(imageFileActionClicked(bool))},
        {Viewer, "Ctrl+C", QT_TRANSLATE_NOOP("Keys", "Copies the photo"), form,
         SLOT(pasteboardActionMenuClicked(bool))},
        {Viewer, QT_TRANSLATE_NOOP("Keys", "Wheel; Pinch"), QT_TRANSLATE_NOOP("Keys", "Zooms")},
        {Viewer, QT_TRANSLATE_NOOP("Keys", "Wheel over the strip"),
         QT_TRANSLATE_NOOP("Keys", "Moves the strip")},
        {Viewer, "Esc", QT_TRANSLATE_NOOP("Keys", "Goes back to the list"), "closeButton", click},
    };
    return keys;
}

QString Keys::title(Place place)
{
    static const char *const titles[] = {
        QT_TRANSLATE_NOOP("Keys", "Everywhere"), QT_TRANSLATE_NOOP("Keys", "In the list of folders"),
        QT_TRANSLATE_NOOP("Keys", "In the list of photos"), QT_TRANSLATE_NOOP("Keys", "In the viewer")};
    return QCoreApplication::translate("Keys", titles[static_cast<int>(place)]);
}

QString Keys::text(const Key &key)
{
    if (!key.receiver)
        return QCoreApplication::translate("Keys", key.keys)
            .replace(QLatin1String("; "), QLatin1String(", "));
    QStringList names;
    for (const QKeySequence &sequence : QKeySequence::listFromString(QLatin1String(key.keys)))
        names.append(sequence.toString(QKeySequence::NativeText));
    return names.join(QLatin1String(", "));
}

bool Keys::isKeptBy(const QWidget *focus, int key)
{
    if (qobject_cast<const QLineEdit *>(focus) || qobject_cast<const QAbstractSpinBox *>(focus))
        return true;
    const auto isOneOf = [key](const QList<int> &keys) { return keys.contains(key); };
    if (qobject_cast<const QAbstractButton *>(focus))
        return isOneOf({Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter});
    return qobject_cast<const QAbstractSlider *>(focus)
           && isOneOf({Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End});
}
