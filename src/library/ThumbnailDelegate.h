#pragma once

#include <QFont>
#include <QHash>
#include <QStyledItemDelegate>

/// Draws a thumbnail with its name as the default delegate does, with a mark in the place of one that cannot
/// be shown, and answers for its size without laying out the text again: a list asks for the size of every
/// item at each layout.
class ThumbnailDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    /// All that the size depends on besides the font and the icon size.
    struct Shape
    {
        int textWidth;  ///< pixels
        int textHeight; ///< pixels
        bool checkable;
        friend bool operator==(const Shape &, const Shape &) = default;
        friend size_t qHash(const Shape &shape, size_t seed)
        {
            return qHashMulti(seed, shape.textWidth, shape.textHeight, shape.checkable);
        }
    };

    /// The answer for a row. It holds while the item shares its text with this: no text is compared.
    struct RowSize
    {
        QString text;
        bool checkable = false;
        QSize size;
    };

    void forgetIfChanged(const QStyleOptionViewItem &option) const;
    [[nodiscard]] QSize sizeOf(const QString &text, bool checkable, const QStyleOptionViewItem &option,
                               const QModelIndex &index) const;

    mutable QFont font;
    mutable QSize iconSize;
    mutable QHash<Shape, QSize> sizeOfShape;
    mutable QHash<QString, QSize> roomOfText; ///< whatever the size of the icons
    mutable QList<RowSize> sizeOfRow;
};
