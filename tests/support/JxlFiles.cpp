#include "support/JxlFiles.h"

#include <jxl/encode.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

QByteArray JxlFiles::make(const Kind &kind)
{
    const auto check = [](JxlEncoderStatus status) {
        if (status != JXL_ENC_SUCCESS)
            qFatal("libjxl does not write such a file");
    };
    const std::unique_ptr<JxlEncoder, decltype(&JxlEncoderDestroy)> encoder(JxlEncoderCreate(nullptr),
                                                                            JxlEncoderDestroy);
    const auto bits = static_cast<uint32_t>(kind.bits);
    const auto channels = static_cast<uint32_t>(kind.more.size());
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<uint32_t>(kind.size.width());
    info.ysize = static_cast<uint32_t>(kind.size.height());
    info.bits_per_sample = bits;
    info.uses_original_profile = !kind.lossy;
    info.num_extra_channels = channels;
    info.alpha_bits = kind.more.contains(JXL_CHANNEL_ALPHA) ? bits : 0;
    info.orientation = static_cast<JxlOrientation>(kind.orientation);
    info.have_animation = kind.frames > 1;
    info.animation.tps_numerator = info.animation.tps_denominator = 1;
    check(JxlEncoderSetCodestreamLevel(encoder.get(), 10));
    check(JxlEncoderSetBasicInfo(encoder.get(), &info));
    JxlColorEncoding srgb;
    JxlColorEncodingSetToSRGB(&srgb, JXL_FALSE);
    check(kind.profile.isEmpty()
              ? JxlEncoderSetColorEncoding(encoder.get(), &srgb)
              : JxlEncoderSetICCProfile(encoder.get(),
                                        reinterpret_cast<const uint8_t *>(kind.profile.constData()),
                                        static_cast<size_t>(kind.profile.size())));
    for (uint32_t i = 0; i < channels; ++i) {
        JxlExtraChannelInfo channel;
        JxlEncoderInitExtraChannelInfo(kind.more[i], &channel);
        channel.bits_per_sample = bits;
        check(JxlEncoderSetExtraChannelInfo(encoder.get(), i, &channel));
    }

    const auto samples = [&](const std::vector<int> &values) {
        std::vector<uint16_t> all(static_cast<size_t>(kind.size.width()) * kind.size.height()
                                  * values.size());
        for (size_t i = 0; i < all.size(); ++i)
            all[i] = static_cast<uint16_t>(values[i % values.size()] * 257);
        return all;
    };
    std::vector<uint16_t> pixels = samples({std::begin(colours), std::end(colours)});
    for (size_t i = 0; !kind.picture.isNull() && i < pixels.size(); i += 3) {
        const auto at = static_cast<int>(i / 3);
        const QRgb colour = kind.picture.pixel(at % kind.size.width(), at / kind.size.width());
        const int parts[] = {qRed(colour), qGreen(colour), qBlue(colour)};
        std::transform(std::begin(parts), std::end(parts), &pixels[i], [](int part) { return part * 257; });
    }
    const std::vector<uint16_t> others = samples({inOthers});
    const JxlPixelFormat three{3, JXL_TYPE_UINT16, JXL_NATIVE_ENDIAN, 0};
    const JxlPixelFormat one{1, JXL_TYPE_UINT16, JXL_NATIVE_ENDIAN, 0};
    JxlEncoderFrameSettings *const settings = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
    check(JxlEncoderSetFrameLossless(settings, !kind.lossy));
    check(JxlEncoderFrameSettingsSetOption(settings, JXL_ENC_FRAME_SETTING_EFFORT, 1));
    for (const auto &[setting, value] : kind.settings)
        check(JxlEncoderFrameSettingsSetOption(settings, setting, value));
    JxlFrameHeader header;
    JxlEncoderInitFrameHeader(&header);
    header.duration = kind.duration;
    for (int frame = 0; frame < kind.frames; ++frame) {
        if (kind.frames > 1)
            check(JxlEncoderSetFrameHeader(settings, &header));
        check(JxlEncoderAddImageFrame(settings, &three, pixels.data(), 2 * pixels.size()));
        for (uint32_t i = 0; i < channels; ++i)
            check(JxlEncoderSetExtraChannelBuffer(settings, &one, others.data(), 2 * others.size(), i));
    }
    JxlEncoderCloseInput(encoder.get());
    QByteArray file(1 << 20, 0);
    auto *next = reinterpret_cast<uint8_t *>(file.data());
    auto left = static_cast<size_t>(file.size());
    check(JxlEncoderProcessOutput(encoder.get(), &next, &left));
    file.chop(static_cast<qsizetype>(left));
    return file;
}
