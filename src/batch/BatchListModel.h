#pragma once

#include "batch/ImagesToPDFAddUrlsThread.h"

#include <QPersistentModelIndex>
#include <QStandardItemModel>
#include <QTimer>

/// The files of the batch tools, a row each, in the order of the pages. The text of a row is what it says of
/// its file. Its icon comes out of the thumbnail database when it is painted, so that a long list costs no
/// memory for pixels. GUI thread only.
class BatchListModel : public QStandardItemModel
{
    Q_OBJECT

public:
    explicit BatchListModel(QObject *parent = nullptr);

    /// Appends files. One that is in the list already, also under a path that differs in case only, moves to
    /// the end.
    void addFiles(const QList<BatchFile> &files);

    /// Takes rows out, given in any order, each once. Those that stay keep their order, but indexes of the
    /// others are at the end of the list by then.
    void removeFiles(const QList<int> &rows);

    /// Moves rows up (-1) or down (1), one after the other; one at the end of the list stays there.
    void moveFiles(const QList<int> &rows, int step);

    /// The paths, top first.
    [[nodiscard]] QStringList paths() const;

    QVariant data(const QModelIndex &index, int role) const override;

private:
    [[nodiscard]] QPixmap icon(const QModelIndex &index) const;
    [[nodiscard]] QList<int> inOrder() const;
    void putInOrder(const QList<int> &rows);

    mutable QTimer repaintTimer;                 ///< runs while the database was busy
    mutable QList<QPersistentModelIndex> missed; ///< rows whose icon it did not give
};
