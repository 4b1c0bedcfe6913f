#include "formats/heif/HeifColour.h"

#include <QByteArray>
#include <QList>
#include <QPointF>

#include <cmath>

namespace {

using Transfer = QColorSpace::TransferFunction;

/// Light by signal, in 16 bits, of the camera transfer that BT.601, BT.709 and BT.2020 share (ITU-T H.273,
/// table 3). It is undone as it stands, as for every other transfer of the table; a screen's gamma of 2.4
/// (BT.1886) belongs to video seen in the dark.
QList<uint16_t> cameraTransfer()
{
    constexpr int entries = 1024;
    QList<uint16_t> table(entries);
    for (int i = 0; i < entries; ++i) {
        const double signal = static_cast<double>(i) / (entries - 1);
        const double light = signal < 0.081 ? signal / 4.5 : std::pow((signal + 0.099) / 1.099, 1 / 0.45);
        table[i] = static_cast<uint16_t>(std::lround(light * 65535));
    }
    return table;
}

/// The colour space of the primaries with a transfer given as QColorSpace's constructors take it.
template <typename... TransferArguments>
QColorSpace withTransfer(const heif_color_profile_nclx &nclx, const TransferArguments &...transfer)
{
    switch (nclx.color_primaries) {
    case heif_color_primaries_ITU_R_BT_709_5:
    case heif_color_primaries_unspecified:
        return QColorSpace(QColorSpace::Primaries::SRgb, transfer...);
    case heif_color_primaries_SMPTE_EG_432_1:
        return QColorSpace(QColorSpace::Primaries::DciP3D65, transfer...);
    default:
        return QColorSpace(QPointF(nclx.color_primary_white_x, nclx.color_primary_white_y),
                           QPointF(nclx.color_primary_red_x, nclx.color_primary_red_y),
                           QPointF(nclx.color_primary_green_x, nclx.color_primary_green_y),
                           QPointF(nclx.color_primary_blue_x, nclx.color_primary_blue_y), transfer...);
    }
}

QColorSpace fromCodePoints(const heif_color_profile_nclx &nclx)
{
    const bool knowsPrimaries = nclx.color_primaries != heif_color_primaries_unspecified;
    switch (nclx.transfer_characteristics) {
    case heif_transfer_characteristic_IEC_61966_2_1:
        return withTransfer(nclx, Transfer::SRgb);
    case heif_transfer_characteristic_unspecified:
        return knowsPrimaries ? withTransfer(nclx, Transfer::SRgb) : QColorSpace();
    case heif_transfer_characteristic_linear:
        return withTransfer(nclx, Transfer::Linear);
    case heif_transfer_characteristic_ITU_R_BT_470_6_System_M:
        return withTransfer(nclx, Transfer::Gamma, 2.2F);
    case heif_transfer_characteristic_ITU_R_BT_470_6_System_B_G:
        return withTransfer(nclx, Transfer::Gamma, 2.8F);
    case heif_transfer_characteristic_ITU_R_BT_709_5:
    case heif_transfer_characteristic_ITU_R_BT_601_6:
    case heif_transfer_characteristic_ITU_R_BT_2020_2_10bit:
    case heif_transfer_characteristic_ITU_R_BT_2020_2_12bit:
        // Qt 6.4 makes no valid space of a white, primaries and a table at once.
        return withTransfer(nclx, Transfer::Linear).withTransferFunction(cameraTransfer());
    default:
        return {};
    }
}

QColorSpace fromProfile(const heif_image_handle &handle)
{
    QByteArray profile(static_cast<qsizetype>(heif_image_handle_get_raw_color_profile_size(&handle)), 0);
    if (profile.isEmpty() || !Heif::isOk(heif_image_handle_get_raw_color_profile(&handle, profile.data())))
        return {};
    return QColorSpace::fromIccProfile(profile);
}

} // namespace

QColorSpace Heif::colourSpace(const heif_image_handle &handle)
{
    if (const QColorSpace space = fromProfile(handle); !space.iccProfile().isEmpty())
        return space;
    heif_color_profile_nclx *nclx = nullptr;
    const bool found = isOk(heif_image_handle_get_nclx_color_profile(&handle, &nclx));
    const Nclx owner(nclx);
    return found && nclx ? fromCodePoints(*nclx) : QColorSpace();
}

void Heif::setColourSpace(heif_image &image, const QColorSpace &colourSpace)
{
    const Nclx nclx(heif_nclx_color_profile_alloc());
    nclx->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
    nclx->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
    nclx->full_range_flag = 1;
    heif_image_set_nclx_color_profile(&image, nclx.get());
    const QByteArray profile = colourSpace.iccProfile();
    if (profile.isEmpty() || colourSpace == QColorSpace(QColorSpace::SRgb))
        return;
    heif_image_set_raw_color_profile(&image, "prof", profile.constData(), profile.size());
}
