#include "formats/heif/HeifTypes.h"

#include <QStringList>
#include <QtDebug>

namespace {

// From libheif 1.17 on each codec is a package of its own, and may be missing.
QStringList missingPackages()
{
    QStringList packages;
    if (!heif_have_decoder_for_format(heif_compression_HEVC))
        packages << QStringLiteral("libheif-plugin-libde265");
    if (!heif_have_encoder_for_format(heif_compression_HEVC))
        packages << QStringLiteral("libheif-plugin-x265");
    if (!heif_have_decoder_for_format(heif_compression_AV1))
        packages << QStringLiteral("libheif-plugin-dav1d");
    if (!heif_have_encoder_for_format(heif_compression_AV1))
        packages << QStringLiteral("libheif-plugin-aomenc");
    return packages;
}

bool loadCodecs()
{
    const bool loaded = Heif::isOk(heif_init(nullptr));
    if (const QStringList missing = missingPackages(); !missing.isEmpty())
        qDebug().noquote() << "HEIC, HEIF and AVIF need the packages" << missing.join(QLatin1Char(' '));
    return loaded;
}

} // namespace

void Heif::initialise()
{
    static const bool done = loadCodecs();
    static_cast<void>(done);
}
