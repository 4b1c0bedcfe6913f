#pragma once

#include <QFrame>

/// The large target for drops that stands in for the list while there is no folder.
class TDropFrame : public QFrame
{
    Q_OBJECT

public:
    explicit TDropFrame(QWidget *parent = nullptr);

signals:
    void addFolder(QString path);
    void addFolder(QString path, QString fileName);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    bool isDirDrop = false;
};
