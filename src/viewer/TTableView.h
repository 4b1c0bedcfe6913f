#pragma once

#include <QTableView>

#include <functional>

/// The strip of thumbnails. It never moves its selection by keys: the viewer steps by itself.
class TTableView : public QTableView
{
    Q_OBJECT

public:
    explicit TTableView(QWidget *parent = nullptr);

    /// Makes a change to the columns without losing the selected one and the scroll position.
    void keepInPlace(const std::function<void()> &change);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void showEvent(QShowEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
};
