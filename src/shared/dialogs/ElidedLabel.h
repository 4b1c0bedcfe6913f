#pragma once

#include <QLabel>

/// A line of plain text that may be long, such as a path: shown with its middle left out where there is no
/// room for it, whole as tool tip then. `text()` is always the whole, and the window can be as narrow as it
/// likes.
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    void setText(const QString &text);
    void clear() { setText({}); }

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QString shownText() const;
    void updateToolTip();
};
