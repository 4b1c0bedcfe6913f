#include "library/FileNames.h"

#include <algorithm>

QString wrapFileName(const QString &text)
{
    constexpr qsizetype lineLength = 16;
    if (text.size() <= lineLength)
        return text;
    QString wrapped;
    wrapped.reserve(text.size() + text.size() / lineLength);
    for (qsizetype start = 0; start < text.size();) {
        qsizetype end = std::min(start + lineLength, text.size());
        // A letter of two code units goes to the next line whole.
        if (end < text.size() && text[end - 1].isHighSurrogate() && text[end].isLowSurrogate())
            --end;
        if (start > 0)
            wrapped.append(u'\n');
        wrapped.append(QStringView(text).mid(start, end - start));
        start = end;
    }
    return wrapped;
}
