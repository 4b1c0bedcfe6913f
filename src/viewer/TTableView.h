#pragma once

#include <QTableView>

/// The strip of thumbnails. It never moves its selection by keys: the viewer steps by itself.
class TTableView : public QTableView
{
    Q_OBJECT

public:
    explicit TTableView(QWidget *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void showEvent(QShowEvent *event) override;
};
