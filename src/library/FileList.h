#pragma once

#include "library/FileModel.h"
#include "library/ThumbnailIcons.h"
#include "library/ThumbnailRequestQueue.h"
#include "library/VistamoLoadFolderThread.h"
#include <QObject>
#include <QPixmap>
#include <QSet>

#include <functional>
#include <optional>

/// The files of the folder on show: their records, the rows of the list, the columns of the strip, and the
/// icons of both. GUI thread.
///
/// It alone writes `VistamoGlobal::fileDataList`. Entry i and row i are the same file whenever one of its
/// functions has returned. Column i is so from the end of a walk until a file leaves: the strip is filled
/// again by the next walk. A folder that is read again changes where it differs, and so keeps its selection.
class FileList : public QObject
{
    Q_OBJECT

public:
    /// What the list asks for.
    struct Surroundings
    {
        /// True if the file is ticked; ticks come with the thumbnails.
        std::function<bool(const TFileRecord &file)> isTicked;

        /// Makes a change to the strip's columns during which its view loses its place.
        std::function<void(const std::function<void()> &change)> keepStripInPlace;
    };

    explicit FileList(Surroundings surroundings, QObject *parent = nullptr);
    ~FileList() override;

    QStandardItemModel &list() { return mainModel; }     ///< a row a file
    QStandardItemModel &strip() { return galleryModel; } ///< a column a file
    ThumbnailIcons &icons() { return thumbnailIcons; }

    /// From here on only what belongs to this load is taken in. The files of another folder go.
    void begin(Generation generation, const QString &path);

    /// The folder of the present load, and whether it stands in the list already, as it was before.
    [[nodiscard]] const QString &folder() const { return currentFolder; }
    [[nodiscard]] bool isReadAgain() const { return readAgain; }

    /// Takes in what a walk has found: at once, or where the folder is read again, all with the last batch.
    /// Of what differs from the list no more is touched than that. Gives the files whose thumbnails are to be
    /// asked for, in the order of their rows; nothing if it belongs to another load.
    /// @param checkable whether the rows have check boxes
    [[nodiscard]] std::optional<QList<TThumbnailRequest>> take(const FoundFiles &files, bool checkable);

    /// Gives the file of an answer its icon and its tick, wherever its row is by now; nothing if it has left
    /// or the answer belongs to another load.
    void take(const ThumbnailAnswer &answer);

    /// Ticks the boxes of these rows, or takes the ticks off. Gives their files.
    [[nodiscard]] QList<TFileRecord> setTicked(int first, int last, bool ticked);

    /// Empties the list.
    void clear();

    /// Takes files out of the list, whatever the case of their paths. False if none is there. The strip has a
    /// single row: it loses all or nothing.
    [[nodiscard]] bool remove(const QStringList &paths);

    [[nodiscard]] int count() const { return static_cast<int>(VistamoGlobal::fileDataList.size()); }

    /// The names of all files.
    [[nodiscard]] QSet<QString> names() const;

    /// The file in a row; null if the list has no such row (any more).
    [[nodiscard]] const TFileRecord *at(int row) const;

    /// The row of the file of this path; -1 for none. A name in another case counts where the disk says that
    /// it is the same file.
    [[nodiscard]] int rowOf(const QString &path) const;

    /// The row of the first file that does not stand before this one: its own, or that in its place.
    [[nodiscard]] int placeOf(const QString &path) const;

    /// The last row with a file of this name, whatever its case; -1 for none.
    [[nodiscard]] int lastRowNamed(const QString &fileName) const;

    /// The thumbnail of the file in a row, cut out of its square; null for no row.
    [[nodiscard]] QPixmap thumbnail(int row) const;

    /// Makes the list's view lay out its items again, by adding and removing a row.
    void reflow();

signals:
    /// Items may have other sizes, in the same places.
    void sizesChanged();

    /// An answer has met a row without an item.
    void itemMissing();

private:
    void fillStrip();
    void appendRows(const QList<TFileRecord> &files, bool checkable);
    QList<QStandardItem *> newItems(const QList<TFileRecord> &files, bool checkable);
    void removeFiles(const QList<int> &rows);
    QList<int> insertFiles(const QList<TFileRecord> &files, bool checkable);
    void replace(const QList<int> &gone, const QList<TFileRecord> &come, bool checkable);
    void changeStrip(const QList<int> &gone, const QList<int> &come);
    void addKnown(QList<TFileRecord> &files) const;
    bool updateRow(int row, const TFileRecord &record);
    bool setCheckable(int row, bool checkable);
    [[nodiscard]] QList<TThumbnailRequest> merge(const QList<TFileRecord> &files, bool checkable);
    [[nodiscard]] QList<TThumbnailRequest> change(const FoundFiles &files, bool checkable);
    int placeOfName(const QString &fileName) const;
    int rowNamed(const QString &fileName) const;
    int rowOf(const ThumbnailAnswer &answer) const;
    void assertSameFile(int row) const;
    void assertInStep() const;

    const Surroundings surroundings;
    Generation currentGeneration;
    FileModel mainModel;
    FileModel galleryModel{&mainModel};
    ThumbnailIcons thumbnailIcons;
    bool fileHasLeft = false; ///< since the strip was filled
    QString currentFolder;
    bool readAgain = false;
    QSet<QString>
        changed; ///< files that have changed in this load: their earlier requests may be answered yet
    QList<TFileRecord> found; ///< of a folder that is read again, until the walk has ended
};
