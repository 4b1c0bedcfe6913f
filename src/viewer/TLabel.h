#pragma once

#include <QLabel>

/// A label that reports double clicks.
class TLabel : public QLabel
{
    Q_OBJECT

public:
    using QLabel::QLabel;

signals:
    void mouseDoubleClick();

protected:
    void mouseDoubleClickEvent(QMouseEvent *) override { emit mouseDoubleClick(); }
};
