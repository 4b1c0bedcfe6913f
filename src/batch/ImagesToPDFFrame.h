#pragma once

#include <QFrame>
#include <QList>
#include <QUrl>

/// The large target for drops that stands in for the batch list while that is empty.
class ImagesToPDFFrame : public QFrame
{
    Q_OBJECT

public:
    using QFrame::QFrame;

signals:
    /// All that was dropped, images or not.
    void addURLs(QList<QUrl> urls);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
};
