#include "library/FileNames.h"

#include <QDir>

QString wrapFileName(const QString &text)
{
    constexpr qsizetype lineLength = 16;
    QString wrapped = text.left(lineLength);
    for (qsizetype start = lineLength; start < text.size(); start += lineLength)
        wrapped.append(u'\n').append(QStringView(text).mid(start, lineLength));
    return wrapped;
}

QString pathKey(const QString &path)
{
    return QDir::toNativeSeparators(path).toCaseFolded();
}

bool isSamePath(const QString &a, const QString &b)
{
    return QDir::toNativeSeparators(a).compare(QDir::toNativeSeparators(b), Qt::CaseInsensitive) == 0;
}
