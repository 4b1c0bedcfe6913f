#pragma once

#include <QElapsedTimer>
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

public:
    /// Goes to the first file, from the current one on, whose name begins with what was typed of late.
    void keyboardSearch(const QString &search) override;

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    QString typed; ///< of a name
    QElapsedTimer sinceTyped;
    bool isDirDrop = false;
};
