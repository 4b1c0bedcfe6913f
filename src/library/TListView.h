#pragma once

#include "shared/WheelNotches.h"

#include <QElapsedTimer>
#include <QListView>
#include <QPropertyAnimation>

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
    void zoomRequested(int step); ///< above 0: larger

public:
    /// What is painted while there is no file.
    void setEmptyText(const QString &text);

    /// Goes to the first file, from the current one on, whose name begins with what was typed of late.
    void keyboardSearch(const QString &search) override;

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    /// True while what is typed goes on a name that was begun.
    bool isSearching() const;
    /// Looked for from the row `first` on, and round; -1 if there is none.
    int rowThatBeginsWith(const QString &text, int first) const;

    QString emptyText;
    WheelNotches wheel;
    QPropertyAnimation scrolling;
    qreal wheelTarget = 0; ///< of the scroll bar, in parts of a pixel too
    QString typed;         ///< of a name
    QElapsedTimer sinceTyped;
    bool isDirDrop = false;
};
