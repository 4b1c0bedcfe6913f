#pragma once

#include "shared/platform/ColourScheme.h"

#include <QPainter>
#include <QProxyStyle>
#include <QPushButton>
#include <QStyleOption>

/// A style whose links and selected texts can be read, whatever palette the desktop has, or changes to, and
/// which shows by frames that views and push buttons have the focus.
class ReadableStyle : public QProxyStyle
{
public:
    using QProxyStyle::polish;
    using QProxyStyle::QProxyStyle;

    void polish(QPalette &palette) override
    {
        QProxyStyle::polish(palette);
        makeReadable(palette);
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        constexpr State byKey = State_HasFocus | State_KeyboardFocusChange;
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        // A default button looks as though it had the focus: one that has it has a second frame.
        const bool isButton = element == PE_PanelButtonCommand && qobject_cast<const QPushButton *>(widget);
        if ((element != PE_Frame && !isButton) || (option->state & byKey) != byKey)
            return;
        const int inside = isButton ? 2 : 0;
        painter->save();
        painter->setPen(option->palette.color(QPalette::Highlight));
        painter->drawRect(option->rect.adjusted(inside, inside, -1 - inside, -1 - inside));
        painter->restore();
    }
};
