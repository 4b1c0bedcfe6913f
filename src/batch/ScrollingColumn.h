#pragma once

#include <QEvent>
#include <QScrollArea>
#include <QScrollBar>

/// A column that scrolls up and down, and is as wide as what stands in it has to be.
class ScrollingColumn : public QScrollArea
{
    Q_OBJECT

public:
    using QScrollArea::QScrollArea;

    [[nodiscard]] QSize minimumSizeHint() const override
    {
        const int bar = verticalScrollBar()->isVisible() ? verticalScrollBar()->sizeHint().width() : 0;
        return {widget() ? widget()->minimumSizeHint().width() + bar : 0,
                QScrollArea::minimumSizeHint().height()};
    }
    [[nodiscard]] QSize sizeHint() const override
    {
        return {minimumSizeHint().width(), QScrollArea::sizeHint().height()};
    }

protected:
    void resizeEvent(QResizeEvent *event) override
    {
        QScrollArea::resizeEvent(event); // also when the bar comes or goes
        updateGeometry();
    }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::LayoutRequest)
            updateGeometry();
        return QScrollArea::eventFilter(watched, event);
    }
};
