#include "shared/image/ImageMetadata.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

bool isMetadata(const QString &key)
{
    return key.startsWith(QLatin1String("Raw profile type ")) || key == QLatin1String("XML:com.adobe.xmp")
           || key.startsWith(QLatin1String("exif:")) || key.startsWith(QLatin1String("tiff:"));
}

void release(void *image)
{
    delete static_cast<QImage *>(image);
}

} // namespace

QImage withoutMetadataTexts(QImage image)
{
    const QStringList keys = image.textKeys();
    if (std::none_of(keys.begin(), keys.end(), isMetadata))
        return image;
    // A QImage forgets no text: another one takes over the pixels.
    auto owner = std::make_unique<QImage>(std::move(image));
    QImage clean(owner->bits(), owner->width(), owner->height(), owner->bytesPerLine(), owner->format(),
                 release, owner.get());
    const QImage &source = *owner.release();
    clean.setColorTable(source.colorTable());
    clean.setColorSpace(source.colorSpace());
    clean.setDotsPerMeterX(source.dotsPerMeterX());
    clean.setDotsPerMeterY(source.dotsPerMeterY());
    for (const QString &key : keys)
        if (!isMetadata(key))
            clean.setText(key, source.text(key));
    return clean;
}
