#pragma once

#include <QMenu>
#include <QScopedValueRollback>
#include <QStringList>

#include <optional>

/// The context menu of the list. Until what was picked from it has ended, it knows the files that were
/// selected as it opened: the selection moves to a neighbour when one of them goes.
class FileMenu : public QMenu
{
    Q_OBJECT

public:
    FileMenu()
        : copyToAction(addAction(tr("Copy to...")))
        , moveToAction(addAction(tr("Move to...")))
        , renameAction(addAction(tr("Rename...")))
    {
    }

    /// Opens for these files at a point of the screen; comes back when what was picked has ended.
    void openFor(const QStringList &files, QPoint globalPos)
    {
        const QScopedValueRollback<std::optional<QStringList>> open(openedFor, files);
        exec(globalPos);
    }

    /// The files that it is open for; nothing while it is not.
    [[nodiscard]] const std::optional<QStringList> &files() const { return openedFor; }

    QAction *const copyToAction;
    QAction *const moveToAction;
    QAction *const renameAction;

private:
    std::optional<QStringList> openedFor;
};
