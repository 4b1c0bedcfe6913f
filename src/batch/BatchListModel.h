#pragma once

#include "batch/ImagesToPDFAddUrlsThread.h"

#include <QStandardItemModel>

/// The files of the batch tools, a row each, in the order of the pages. The text of a row is what it says of
/// its file. Its icon comes out of the thumbnail database when it is painted, so that a long list costs no
/// memory for pixels. GUI thread only.
class BatchListModel : public QStandardItemModel
{
    Q_OBJECT

public:
    using QStandardItemModel::QStandardItemModel;

    /// Appends files. One that is in the list already, also under a path that differs in case only, moves to
    /// the end.
    void addFiles(const QList<BatchFile> &files);

    /// The paths, top first.
    QStringList paths() const;

    QVariant data(const QModelIndex &index, int role) const override;
};
