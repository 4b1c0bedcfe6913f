#include "shared/dialogs/ElidedLabel.h"

#include <QStyle>
#include <QStylePainter>

ElidedLabel::ElidedLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::setText(const QString &text)
{
    QLabel::setText(text);
    updateToolTip();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().horizontalAdvance(QChar(0x2026)), QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    updateToolTip();
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    painter.drawItemText(contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, palette(),
                         isEnabled(), shownText(), foregroundRole());
}

QString ElidedLabel::shownText() const
{
    return fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
}

void ElidedLabel::updateToolTip()
{
    const bool isWhole = shownText() == text();
    // A tool tip takes tags for markup.
    const QString whole = Qt::mightBeRichText(text()) ? Qt::convertFromPlainText(text()) : text();
    setToolTip(isWhole ? QString() : whole);
}
