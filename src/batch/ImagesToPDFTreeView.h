#pragma once

#include <QList>
#include <QTreeView>
#include <QUrl>

/// The batch list. Its rows are put in order by dragging.
class ImagesToPDFTreeView : public QTreeView
{
    Q_OBJECT

public:
    using QTreeView::QTreeView;

    QString selectedPath; ///< the first selected file; only rows of images can be dragged

signals:
    /// What was dropped from outside. Nothing is connected: files are added to an empty list, or by the
    /// button.
    void addURLs(QList<QUrl> urls);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
};
