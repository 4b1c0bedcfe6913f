#pragma once

#include <QListView>

/// The grid of thumbnails. A right press selects like a left one, Space on an item counts as a click on its
/// box; folders and images can be dropped on it.
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
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    bool isDirDrop = false;
};
