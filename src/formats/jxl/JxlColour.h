#pragma once

#include <QColorSpace>

#include <jxl/decode.h>

#include <optional>

namespace Jxl {

/// The colour space as libjxl's code points; nothing if its primaries or its transfer have none.
[[nodiscard]] std::optional<JxlColorEncoding> encodingOf(const QColorSpace &colourSpace, bool grey);

/// The colour space in which the decoder gives its pixels, asked when it knows the colours. A file whose
/// colours were coded apart from its ICC profile is asked for in the nearest space with code points.
/// Invalid if Qt cannot express it, and for the transfers of high dynamic range (PQ, HLG).
[[nodiscard]] QColorSpace chooseColourSpace(JxlDecoder &decoder, const JxlBasicInfo &info);

} // namespace Jxl
