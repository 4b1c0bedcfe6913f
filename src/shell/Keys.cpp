#include "shell/Keys.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QCoreApplication>
#include <QLineEdit>

#define TEXT(text) QT_TRANSLATE_NOOP("Keys", text)

const QList<Keys::Key> &Keys::all()
{
    static const char *const form = "ThumbsForm";
    static const char *const click = SLOT(click());
    using enum Place;
    static const QList<Key> keys = {
        {Everywhere, "F1", TEXT("Lists the keys"), form, SLOT(showKeys())},
        {Everywhere, "F11", TEXT("Takes the full screen, and leaves it"), form, SIGNAL(switchFullScreen())},
        {Everywhere, "Ctrl+O", TEXT("Adds a folder"), "openFileAddButton", click},
        {Everywhere, TEXT("Tab; Shift+Tab"), TEXT("Goes to the next part of the window, and back")},

        {Folders, TEXT("Up; Down; Home; End"), TEXT("Shows the folder that it stops at")},

        {Photos, TEXT("Up; Down; Left; Right; Home; End; PgUp; PgDown"), TEXT("Goes to another photo")},
        {Photos, TEXT("Letters and digits"), TEXT("Goes to the photo whose name begins with them")},
        {Photos, "Return; Enter", TEXT("Opens the photo"), form, SLOT(openCurrentPhoto())},
        {Photos, TEXT("Space"), TEXT("Ticks the photo, or takes its tick off")},
        {Photos, TEXT("Shift+Space"), TEXT("Gives all from the last tick to here the same")},
        {Photos, "Ctrl+A", TEXT("Ticks all photos of the folder"), form, SLOT(tickAll())},
        {Photos, "Ctrl+Shift+A", TEXT("Takes their ticks off"), form, SLOT(untickAll())},
        {Photos, "Ctrl+C", TEXT("Copies the file, for a file manager"), form, SLOT(copyFiles())},
        {Photos, "Del", TEXT("Asks whether to move to the trash"), "deleteButton", click},
        {Photos, "F2", TEXT("Renames the file"), form, SLOT(onRenameAction())},
        {Photos, "F5", TEXT("Reads the folder again"), form, SLOT(readAgain())},
        {Photos, TEXT("Menu"), TEXT("Opens the menu of the photo")},
        {Photos, TEXT("Wheel"), TEXT("Moves the list by a third of a row")},
        {Photos, TEXT("Ctrl+wheel"), TEXT("Shows the thumbnails larger or smaller")},

        {Viewer, TEXT("Left; Right"), TEXT("Shows the photo before, or the next one")},
        {Viewer, "Space", TEXT("Shows the next photo"), "forwardButton", click},
        {Viewer, "Home", TEXT("Shows the first photo"), form, SLOT(showFirst())},
        {Viewer, "End", TEXT("Shows the last photo"), form, SLOT(showLast())},
        {Viewer, "+", TEXT("Zooms in"), form, SLOT(zoomIn())},
        {Viewer, "-", TEXT("Zooms out"), form, SLOT(zoomOut())},
        {Viewer, "0", TEXT("Fits the photo into the view"), "fitVHButton", click},
        {Viewer, "1", TEXT("Shows the photo at its real size"), "fullButton", click},
        {Viewer, "F", TEXT("Fits the width of the photo"), "fitHButton", click},
        {Viewer, "R", TEXT("Turns the photo right"), "rotateRightButton", click},
        {Viewer, "Shift+R", TEXT("Turns the photo left"), "rotateLeftButton", click},
        {Viewer, "C", TEXT("Shows the crop rectangle, or takes it away"), "cropButton", click},
        {Viewer, "Ctrl+S", TEXT("Exports the whole photo to a file"), form,
         SLOT(imageFileActionClicked(bool))},
        {Viewer, "Ctrl+C", TEXT("Copies the photo"), form, SLOT(pasteboardActionMenuClicked(bool))},
        {Viewer, TEXT("Wheel; Pinch"), TEXT("Zooms")},
        {Viewer, TEXT("Wheel over the strip"), TEXT("Moves the strip")},
        {Viewer, "Esc", TEXT("Goes back to the list"), "closeButton", click},
    };
    return keys;
}

QString Keys::title(Place place)
{
    static const char *const titles[] = {TEXT("Everywhere"), TEXT("In the list of folders"),
                                         TEXT("In the list of photos"), TEXT("In the viewer")};
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
