#include "formats/heif/HeifColour.h"

#include "shared/image/ColourCodePoints.h"

#include <QByteArray>

#include <utility>
#include <vector>

namespace {

/// The ICC profile; empty if there is none.
QByteArray profileOf(const heif_image_handle &handle)
{
    QByteArray profile(static_cast<qsizetype>(heif_image_handle_get_raw_color_profile_size(&handle)), 0);
    const bool found =
        !profile.isEmpty() && Heif::isOk(heif_image_handle_get_raw_color_profile(&handle, profile.data()));
    return found ? profile : QByteArray();
}

/// The code points; null if there are none.
Heif::Nclx codePointsOf(const heif_image_handle &handle)
{
    heif_color_profile_nclx *nclx = nullptr;
    const bool found = Heif::isOk(heif_image_handle_get_nclx_color_profile(&handle, &nclx));
    Heif::Nclx owner(nclx);
    return found ? std::move(owner) : nullptr;
}

} // namespace

QColorSpace Heif::colourSpace(const heif_image_handle &handle)
{
    if (const QByteArray profile = profileOf(handle); !profile.isEmpty())
        if (const QColorSpace space = QColorSpace::fromIccProfile(profile); !space.iccProfile().isEmpty())
            return space;
    const Nclx nclx = codePointsOf(handle);
    return nclx ? Colour::colourSpace({nclx->color_primaries, nclx->transfer_characteristics})
                : QColorSpace();
}

bool Heif::haveSameColours(const heif_image_handle &one, const heif_image_handle &other)
{
    const auto points = [](const heif_image_handle &handle) {
        const Nclx nclx = codePointsOf(handle);
        return nclx ? std::vector<int>{nclx->color_primaries, nclx->transfer_characteristics,
                                       nclx->matrix_coefficients, nclx->full_range_flag}
                    : std::vector<int>();
    };
    return profileOf(one) == profileOf(other) && points(one) == points(other);
}

void Heif::setColourSpace(heif_image &image, const QColorSpace &colourSpace)
{
    const QByteArray profile = colourSpace.iccProfile();
    const std::optional<Colour::CodePoints> points = Colour::highDynamicRange(profile);
    const Nclx nclx(heif_nclx_color_profile_alloc());
    nclx->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
    nclx->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
    if (points) {
        nclx->color_primaries = static_cast<heif_color_primaries>(points->primaries);
        nclx->transfer_characteristics = static_cast<heif_transfer_characteristics>(points->transfer);
        if (points->primaries == heif_color_primaries_ITU_R_BT_2020_2_and_2100_0)
            nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_2020_2_non_constant_luminance;
    }
    nclx->full_range_flag = 1;
    heif_image_set_nclx_color_profile(&image, nclx.get());
    if (points || profile.isEmpty() || colourSpace == QColorSpace(QColorSpace::SRgb))
        return;
    heif_image_set_raw_color_profile(&image, "prof", profile.constData(), profile.size());
}
