#include "library/ThumbnailDelegate.h"

#include <QFontMetrics>

#include <algorithm>

namespace {

constexpr qsizetype mostTexts = 500'000;

/// True if the widths of the parts of `text` tell its size: no other script, and so no other font, comes in.
bool isPlain(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c == u'\n' || (c >= u' ' && c <= u'~'); });
}

} // namespace

QSize ThumbnailDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    forgetIfChanged(option);
    const bool checkable = index.flags().testFlag(Qt::ItemIsUserCheckable);
    const QString text = index.data(Qt::DisplayRole).toString();
    QSize &size = sizeOfText[checkable][text];
    if (size.isValid())
        return size;
    if (!isPlain(text))
        return size = QStyledItemDelegate::sizeHint(option, index);

    const QFontMetrics metrics(option.font);
    Shape shape = {0, 0, checkable};
    for (const QStringView line : QStringView(text).split(u'\n')) {
        ++shape.lines;
        shape.widestLine = std::max(shape.widestLine, metrics.horizontalAdvance(line.toString()));
    }
    QSize &known = sizeOfShape[shape];
    if (!known.isValid())
        known = QStyledItemDelegate::sizeHint(option, index);
    return size = known;
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
    if (font == option.font && iconSize == option.decorationSize && sizeOfText[0].size() < mostTexts
        && sizeOfText[1].size() < mostTexts)
        return;
    font = option.font;
    iconSize = option.decorationSize;
    sizeOfShape.clear();
    sizeOfText[0].clear();
    sizeOfText[1].clear();
}
