#include "library/FileNames.h"

QString wrapFileName(const QString &text)
{
    constexpr qsizetype lineLength = 16;
    QString wrapped = text.left(lineLength);
    for (qsizetype start = lineLength; start < text.size(); start += lineLength)
        wrapped.append(u'\n').append(QStringView(text).mid(start, lineLength));
    return wrapped;
}
