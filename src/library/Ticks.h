#pragma once

#include "shared/platform/PathIdentity.h"
#include "shared/VistamoGlobal.h"

#include <QMultiHash>
#include <QSet>
#include <QString>
#include <QStringList>

/// The ticked files of all folders, in the order in which they were ticked. It alone writes
/// `VistamoGlobal::checkedItemList`, and keeps a set beside it, so that a lookup costs the same however many
/// there are. Two paths are one file whatever the kind of their separators, and whatever their case unless
/// the disk tells them apart. GUI thread.
class Ticks
{
public:
    Ticks() { VistamoGlobal::checkedItemList.clear(); }

    [[nodiscard]] bool isEmpty() const { return tickedFiles.isEmpty(); }

    /// @param path     the folder
    /// @param fileName of the file in it
    [[nodiscard]] bool contains(const QString &path, const QString &fileName) const;

    /// Ticks a file that is not ticked yet, or takes the tick off one that is.
    void set(const QString &path, const QString &fileName, bool ticked);

    /// The same for many.
    void set(const QList<TFileRecord> &files, bool ticked);

    /// Takes the ticks off files, given with their paths, wherever they have one.
    void untick(const QStringList &files);

    /// Tells which files a folder has. A tick whose file has gone, or has another name by now, stays for when
    /// it comes back, and is not counted until then.
    void setPresent(const QString &folder, const QList<TFileRecord> &files);

    /// Tells what differs from what was told last: names of files that have gone, and files that have come.
    void changePresent(const QString &folder, const QSet<QString> &gone, const QList<TFileRecord> &come);

    /// How many files are ticked, and how many of them in one folder.
    [[nodiscard]] int count() const;
    [[nodiscard]] int countOf(const QString &folder) const;

    /// All ticked files, or those of one folder, with their paths.
    [[nodiscard]] QStringList files() const;
    [[nodiscard]] QStringList filesOf(const QString &folder) const;

private:
    [[nodiscard]] QString find(const QString &file) const;
    void remove(const QStringList &files);
    void assertInStep() const;

    QMultiHash<NativeCaselessPath, QString> tickedFiles; ///< with their paths
    QHash<NativeCaselessPath, int> ticksOf;              ///< by folder
    QHash<NativeCaselessPath, QSet<QString>> missing;    ///< of the ticked files, by folder
};
