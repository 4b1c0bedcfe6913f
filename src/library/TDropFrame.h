#pragma once

#include <QFrame>

/// The large target for drops that stands in for the list while there is no folder: a button as well. It
/// lights up under what can be dropped on it.
class TDropFrame : public QFrame
{
    Q_OBJECT

public:
    explicit TDropFrame(QWidget *parent = nullptr);

signals:
    void addFolder(QString path);
    void addFolder(QString path, QString fileName);
    void clicked();

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void light(bool on);

    bool isDirDrop = false;
    bool isLit = false;
};
