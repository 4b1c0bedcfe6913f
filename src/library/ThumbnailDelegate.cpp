#include "library/ThumbnailDelegate.h"

#include "library/FileModel.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>
#include <QtMath>

#include <algorithm>
#include <limits>

namespace {

constexpr qsizetype mostTexts = 500'000;
// Wider than any line, as the style lays out text that is not to be wrapped.
constexpr int endlessLine = std::numeric_limits<int>::max() / 256;

/// Room that the lines of `text` take, pixels, measured as the style does it for an item.
QSize textSize(QString text, const QStyleOptionViewItem &option)
{
    text.replace(u'\n', QChar::LineSeparator);
    QTextOption textOption;
    textOption.setWrapMode(QTextOption::ManualWrap);
    textOption.setTextDirection(option.direction);
    QTextLayout layout(text, option.font);
    layout.setTextOption(textOption);
    layout.beginLayout();
    qreal width = 0;
    qreal height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(endlessLine);
        width = std::max(width, line.naturalTextWidth());
        height += line.height();
    }
    layout.endLayout();
    return {qCeil(width), qCeil(height)};
}

} // namespace

void ThumbnailDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    QStyledItemDelegate::paint(painter, option, index);
    if (!FileModel::cannotBeShown(index))
        return;
    QStyleOptionViewItem shown = option;
    initStyleOption(&shown, index);
    const QWidget *const view = option.widget;
    QStyle *const style = view ? view->style() : QApplication::style();
    const QRectF icon = style->subElementRect(QStyle::SE_ItemViewItemDecoration, &shown, view);
    // A frame that is crossed out.
    const qreal side = std::min(icon.width(), icon.height()) / 4;
    QRectF frame(0, 0, side * 1.3, side);
    frame.moveCenter(icon.center());
    QPainterPath mark;
    mark.addRect(frame);
    mark.moveTo(frame.topLeft());
    mark.lineTo(frame.bottomRight());
    mark.moveTo(frame.topRight());
    mark.lineTo(frame.bottomLeft());
    QColor grey = option.palette.color(QPalette::Text);
    grey.setAlphaF(0.6F);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(grey, side / 12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPath(mark);
    painter->restore();
}

QSize ThumbnailDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    forgetIfChanged(option);
    const bool checkable = index.flags().testFlag(Qt::ItemIsUserCheckable);
    const QString text = index.data(Qt::DisplayRole).toString();
    if (index.row() == 0 || index.row() >= sizeOfRow.size())
        sizeOfRow.resize(index.model()->rowCount());
    RowSize &row = sizeOfRow[index.row()];
    if (!row.size.isValid() || row.text.constData() != text.constData() || row.checkable != checkable)
        row = {text, checkable, sizeOf(text, checkable, option, index)};
    return row.size;
}

QSize ThumbnailDelegate::sizeOf(const QString &text, bool checkable, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    QSize &room = roomOfText[text];
    if (!room.isValid())
        room = textSize(text, option);
    QSize &size = sizeOfShape[{room.width(), room.height(), checkable}];
    if (!size.isValid())
        size = QStyledItemDelegate::sizeHint(option, index);
    return size;
}

void ThumbnailDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    // A tick is kept on its item while the check boxes are hidden.
    if (!index.flags().testFlag(Qt::ItemIsUserCheckable))
        option->features &= ~QStyleOptionViewItem::HasCheckIndicator;
}

void ThumbnailDelegate::forgetIfChanged(const QStyleOptionViewItem &option) const
{
    const bool fontChanged = font != option.font;
    if (fontChanged || iconSize != option.decorationSize) {
        font = option.font;
        iconSize = option.decorationSize;
        sizeOfShape.clear();
        sizeOfRow.clear();
    }
    if (fontChanged || roomOfText.size() >= mostTexts)
        roomOfText.clear();
}
