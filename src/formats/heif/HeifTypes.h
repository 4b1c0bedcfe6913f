#pragma once

#include <libheif/heif.h>

#include <memory>

/// Owners of what libheif hands out.
namespace Heif {

template <auto release>
struct Release
{
    template <typename Type>
    void operator()(Type *object) const
    {
        release(object);
    }
};

using Context = std::unique_ptr<heif_context, Release<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Release<heif_image_handle_release>>;
using Image = std::unique_ptr<heif_image, Release<heif_image_release>>;
using Nclx = std::unique_ptr<heif_color_profile_nclx, Release<heif_nclx_color_profile_free>>;
using Encoder = std::unique_ptr<heif_encoder, Release<heif_encoder_release>>;
using DecodingOptions = std::unique_ptr<heif_decoding_options, Release<heif_decoding_options_free>>;
using EncodingOptions = std::unique_ptr<heif_encoding_options, Release<heif_encoding_options_free>>;

[[nodiscard]] inline bool isOk(const heif_error &error)
{
    return error.code == heif_error_Ok;
}

/// Loads the library's codecs, and says once in the debug output which packages have those that are not
/// there. Nothing unloads them again: another user of the library in the same process must not do so while we
/// decode.
void initialise();

} // namespace Heif
