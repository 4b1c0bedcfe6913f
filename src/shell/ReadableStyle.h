#pragma once

#include "shared/platform/ColourScheme.h"

#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

/// A style whose links and selected texts can be read, whatever palette the desktop has, or changes to, and
/// which shows by their frames that views have the focus.
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
        if (element != PE_Frame || (option->state & byKey) != byKey)
            return;
        painter->save();
        painter->setPen(option->palette.color(QPalette::Highlight));
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        painter->restore();
    }
};
