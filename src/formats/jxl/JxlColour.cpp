#include "formats/jxl/JxlColour.h"

#include "shared/image/ColourCodePoints.h"

#include <QByteArray>

#include <jxl/version.h>

#include <algorithm>
#include <array>

namespace {

constexpr int unspecified = 2; ///< of the numbers of ITU-T H.273, which are libjxl's but for P3
constexpr int displayP3 = 12;

using Primaries = QColorSpace::Primaries;
using Transfer = QColorSpace::TransferFunction;

// libjxl 0.9 dropped a parameter that had no use.
#if JPEGXL_NUMERIC_VERSION >= JPEGXL_COMPUTE_NUMERIC_VERSION(0, 9, 0)
constexpr auto encodedProfile = JxlDecoderGetColorAsEncodedProfile;
constexpr auto profileSize = JxlDecoderGetICCProfileSize;
constexpr auto profileBytes = JxlDecoderGetColorAsICCProfile;
#else
JxlDecoderStatus encodedProfile(const JxlDecoder *decoder, JxlColorProfileTarget target,
                                JxlColorEncoding *encoding)
{
    return JxlDecoderGetColorAsEncodedProfile(decoder, nullptr, target, encoding);
}

JxlDecoderStatus profileSize(const JxlDecoder *decoder, JxlColorProfileTarget target, size_t *size)
{
    return JxlDecoderGetICCProfileSize(decoder, nullptr, target, size);
}

JxlDecoderStatus profileBytes(const JxlDecoder *decoder, JxlColorProfileTarget target, uint8_t *bytes,
                              size_t size)
{
    return JxlDecoderGetColorAsICCProfile(decoder, nullptr, target, bytes, size);
}
#endif

QColorSpace fromProfile(const JxlDecoder &decoder, JxlColorProfileTarget target)
{
    size_t size = 0;
    if (profileSize(&decoder, target, &size) != JXL_DEC_SUCCESS || size == 0)
        return {};
    QByteArray profile(static_cast<qsizetype>(size), 0);
    auto *const bytes = reinterpret_cast<uint8_t *>(profile.data());
    return profileBytes(&decoder, target, bytes, size) == JXL_DEC_SUCCESS
               ? QColorSpace::fromIccProfile(profile)
               : QColorSpace();
}

void setPoints(double (&target)[2], const std::array<double, 2> &point)
{
    std::copy(point.begin(), point.end(), target);
}

[[nodiscard]] bool setPrimaries(JxlColorEncoding &encoding, Primaries primaries)
{
    encoding.white_point = JXL_WHITE_POINT_D65;
    switch (primaries) {
    case Primaries::SRgb:
        encoding.primaries = JXL_PRIMARIES_SRGB;
        return true;
    case Primaries::DciP3D65:
        encoding.primaries = JXL_PRIMARIES_P3;
        return true;
    case Primaries::AdobeRgb: // Adobe RGB (1998) Color Image Encoding, 4.3.1.1
        encoding.primaries = JXL_PRIMARIES_CUSTOM;
        setPoints(encoding.primaries_red_xy, {0.64, 0.33});
        setPoints(encoding.primaries_green_xy, {0.21, 0.71});
        setPoints(encoding.primaries_blue_xy, {0.15, 0.06});
        return true;
    default:
        return false;
    }
}

[[nodiscard]] bool setTransfer(JxlColorEncoding &encoding, const QColorSpace &space)
{
    switch (space.transferFunction()) {
    case Transfer::SRgb:
        encoding.transfer_function = JXL_TRANSFER_FUNCTION_SRGB;
        return true;
    case Transfer::Linear:
        encoding.transfer_function = JXL_TRANSFER_FUNCTION_LINEAR;
        return true;
    case Transfer::Gamma:
        encoding.transfer_function = JXL_TRANSFER_FUNCTION_GAMMA;
        encoding.gamma = 1 / static_cast<double>(space.gamma());
        return encoding.gamma > 0 && encoding.gamma <= 1;
    default:
        return false;
    }
}

/// PQ or HLG, with the primaries that libjxl has a name for.
[[nodiscard]] bool setHighDynamicRange(JxlColorEncoding &encoding, Colour::CodePoints points)
{
    encoding.transfer_function = static_cast<JxlTransferFunction>(points.transfer);
    encoding.white_point = JXL_WHITE_POINT_D65;
    switch (points.primaries) {
    case JXL_PRIMARIES_SRGB:
    case unspecified:
        encoding.primaries = JXL_PRIMARIES_SRGB;
        return true;
    case JXL_PRIMARIES_2100:
        encoding.primaries = JXL_PRIMARIES_2100;
        return true;
    case displayP3:
        encoding.primaries = JXL_PRIMARIES_P3;
        return true;
    default:
        return false;
    }
}

JxlColorEncoding emptyEncoding(bool grey)
{
    JxlColorEncoding encoding{};
    encoding.color_space = grey ? JXL_COLOR_SPACE_GRAY : JXL_COLOR_SPACE_RGB;
    encoding.transfer_function = JXL_TRANSFER_FUNCTION_SRGB;
    encoding.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
    return encoding;
}

/// The space of code points; nothing where only their ICC profile can say it.
std::optional<QColorSpace> fromEncoding(const JxlColorEncoding &encoding)
{
    const bool grey = encoding.color_space == JXL_COLOR_SPACE_GRAY;
    if (encoding.transfer_function == JXL_TRANSFER_FUNCTION_PQ
        || encoding.transfer_function == JXL_TRANSFER_FUNCTION_HLG)
        return Colour::colourSpace({grey                                     ? JXL_PRIMARIES_SRGB
                                    : encoding.primaries == JXL_PRIMARIES_P3 ? displayP3
                                                                             : int(encoding.primaries),
                                    int(encoding.transfer_function)});
    const bool srgb = grey || encoding.primaries == JXL_PRIMARIES_SRGB;
    if (encoding.white_point != JXL_WHITE_POINT_D65 || (!srgb && encoding.primaries != JXL_PRIMARIES_P3))
        return std::nullopt;
    const Primaries primaries = srgb ? Primaries::SRgb : Primaries::DciP3D65;
    switch (encoding.transfer_function) {
    case JXL_TRANSFER_FUNCTION_SRGB:
        return QColorSpace(primaries, Transfer::SRgb);
    case JXL_TRANSFER_FUNCTION_LINEAR:
        return QColorSpace(primaries, Transfer::Linear);
    case JXL_TRANSFER_FUNCTION_GAMMA:
        return QColorSpace(primaries, static_cast<float>(1 / encoding.gamma));
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<JxlColorEncoding> Jxl::encodingOf(const QColorSpace &colourSpace, bool grey)
{
    JxlColorEncoding encoding = emptyEncoding(grey);
    const auto points = Colour::highDynamicRange(colourSpace.iccProfile());
    const bool known =
        points ? setHighDynamicRange(encoding, *points)
               : setPrimaries(encoding, colourSpace.primaries()) && setTransfer(encoding, colourSpace);
    return known ? std::optional(encoding) : std::nullopt;
}

QColorSpace Jxl::chooseColourSpace(JxlDecoder &decoder, const JxlBasicInfo &info)
{
    const bool grey = info.num_color_channels == 1;
    JxlColorEncoding encoding{};
    if (!info.uses_original_profile
        && encodedProfile(&decoder, JXL_COLOR_PROFILE_TARGET_ORIGINAL, &encoding) != JXL_DEC_SUCCESS) {
        const QColorSpace original = fromProfile(decoder, JXL_COLOR_PROFILE_TARGET_ORIGINAL);
        encoding = emptyEncoding(grey);
        // Unknown primaries may be wide ones: rather those of Display P3 than a loss of colours.
        if (!setPrimaries(encoding, original.primaries()))
            static_cast<void>(setPrimaries(encoding, grey ? Primaries::SRgb : Primaries::DciP3D65)); // known
        if (!setTransfer(encoding, original))
            encoding.transfer_function = JXL_TRANSFER_FUNCTION_SRGB;
        JxlDecoderSetPreferredColorProfile(&decoder, &encoding);
    }
    if (encodedProfile(&decoder, JXL_COLOR_PROFILE_TARGET_DATA, &encoding) == JXL_DEC_SUCCESS) {
        if (const std::optional<QColorSpace> space = fromEncoding(encoding))
            return *space;
    }
    return fromProfile(decoder, JXL_COLOR_PROFILE_TARGET_DATA);
}
