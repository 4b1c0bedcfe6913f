#pragma once

#include "shared/platform/ColourScheme.h"

#include <QProxyStyle>

/// A style whose selected texts can be read, whatever palette the desktop has, or changes to.
class ReadableStyle : public QProxyStyle
{
public:
    using QProxyStyle::polish;
    using QProxyStyle::QProxyStyle;

    void polish(QPalette &palette) override
    {
        QProxyStyle::polish(palette);
        makeSelectionReadable(palette);
    }
};
