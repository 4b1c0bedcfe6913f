#pragma once

#include <QListView>

/// The grid of thumbnails. A right press selects like a left one; folders and images can be dropped on it.
class TListView : public QListView
{
    Q_OBJECT

public:
    explicit TListView(QWidget *parent = nullptr);

signals:
    void addFolder(QString path);
    void addFolder(QString path, QString fileName);
    void rightMouseButtonPressEvent(QPoint pos);
    void leftMouseButtonPressEvent(QPoint pos);
    void contentScrolledEvent(int value);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    bool isDirDrop = false;
};
