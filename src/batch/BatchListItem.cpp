#include "batch/BatchListItem.h"

#include <QFileInfo>

QString batchItemText(const QString &path, const QString &resolution)
{
    const QFileInfo info(path);
    return info.fileName() + QLatin1Char('\n') + resolution + QLatin1Char('\n') + info.path();
}

QString fullPathFromItemText(const QString &text)
{
    return text.section(QLatin1Char('\n'), 2) + QLatin1Char('/') + text.section(QLatin1Char('\n'), 0, 0);
}
