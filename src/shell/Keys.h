#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

class QWidget;

/// The one table of the program's keys: what acts on them, the list that F1 shows, and `docs/keyboard.md`
/// come from it.
namespace Keys {

/// Where a key acts: wherever the focus is, or while it is in one part of the window.
enum class Place
{
    Everywhere,
    Folders,
    Photos,
    Viewer
};

struct Key
{
    Place place;
    const char *keys; ///< as `QKeySequence` reads a list of them; free text where the part's own view acts
    const char *does;
    const char *receiver = nullptr; ///< name of the button or the form that acts; null: the part's own view
    const char *slot = nullptr;     ///< of the receiver, as `SLOT` or `SIGNAL` writes it
};

[[nodiscard]] const QList<Key> &all();

/// The heading of a part of the list.
[[nodiscard]] QString title(Place place);

/// The keys as a reader of this system knows them.
[[nodiscard]] QString text(const Key &key);

/// True if the widget that has the focus has this key for itself: a text field all of them, a button those
/// that press it.
[[nodiscard]] bool isKeptBy(const QWidget *focus, int key);

} // namespace Keys
