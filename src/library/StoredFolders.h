#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>

/// The list of folders in the settings, at most twenty: written a second after it changes, and by `write` at
/// the end. Several programs may run on the same settings. GUI thread.
class StoredFolders : public QObject
{
    Q_OBJECT

public:
    /// @param present gives the program's list of folders, the top first; here and below
    explicit StoredFolders(std::function<QStringList()> present);

    [[nodiscard]] QStringList read();

    /// Writes what `mergedFolders` makes of the program's list and of what others have stored meanwhile.
    void write();
    void writeSoon() { timer.start(); }

private:
    const std::function<QStringList()> present;
    QStringList known;
    QTimer timer;
};

/// The folders of `own` in their order, then what others have added to `stored`, less what either has removed
/// since both were `known`.
[[nodiscard]] QStringList mergedFolders(const QStringList &own, const QStringList &known,
                                        const QStringList &stored);
