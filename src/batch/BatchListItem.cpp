#include "batch/BatchListItem.h"

#include "shared/ImageReading.h"

#include <QFileInfo>
#include <QPainter>

QString batchItemText(const QString &path, const QString &resolution)
{
    const QFileInfo info(path);
    return info.fileName() + QLatin1Char('\n') + resolution + QLatin1Char('\n') + info.path();
}

QString fullPathFromItemText(const QString &text)
{
    return text.section(QLatin1Char('\n'), 2) + QLatin1Char('/') + text.section(QLatin1Char('\n'), 0, 0);
}

QImage batchIcon(const QImage &thumbnail)
{
    QImage icon(batchIconSide, batchIconSide, QImage::Format_RGB32);
    icon.fill(Qt::white);
    if (thumbnail.isNull())
        return icon;
    const QImage scaled = thumbnail.scaled(ImageReading::thumbnailSize(thumbnail.size(), batchIconSide),
                                           Qt::IgnoreAspectRatio, Qt::FastTransformation);
    QPainter(&icon).drawImage((batchIconSide - scaled.width()) / 2, (batchIconSide - scaled.height()) / 2,
                              scaled);
    return icon;
}
