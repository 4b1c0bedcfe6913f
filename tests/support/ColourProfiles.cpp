#include "support/ColourProfiles.h"

#include <lcms2.h>

#include <array>

namespace {

/// What a table is filled by.
struct Filling
{
    const ColourProfiles::Meaning &meaning;
    cmsHTRANSFORM toLab;
};

cmsInt32Number fill(const cmsUInt16Number in[], cmsUInt16Number out[], void *data)
{
    const auto &[meaning, toLab] = *static_cast<const Filling *>(data);
    const std::array<float, 4> samples{in[0] / 65535.F, in[1] / 65535.F, in[2] / 65535.F, in[3] / 65535.F};
    const std::array<float, 3> srgb = meaning(samples);
    cmsDoTransform(toLab, srgb.data(), out, 1);
    return 1;
}

} // namespace

QByteArray ColourProfiles::ofTable(int samples, const Meaning &meaning)
{
    const cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
    const cmsHPROFILE srgb = cmsCreate_sRGBProfile();
    Filling filling{meaning, cmsCreateTransform(srgb, TYPE_RGB_FLT, lab, TYPE_Lab_16,
                                                INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE)};
    cmsStage *const table = cmsStageAllocCLut16bit(nullptr, samples > 3 ? 11 : 33, samples, 3, nullptr);
    cmsStageSampleCLut16bit(table, fill, &filling, 0);
    cmsPipeline *const pipeline = cmsPipelineAlloc(nullptr, samples, 3);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, samples, nullptr));
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    const cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 4.3);
    cmsSetDeviceClass(profile, cmsSigOutputClass);
    cmsSetColorSpace(profile, samples > 3 ? cmsSigCmykData : cmsSigRgbData);
    cmsSetPCS(profile, cmsSigLabData);
    cmsWriteTag(profile, cmsSigAToB0Tag, pipeline);
    cmsWriteTag(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    cmsUInt32Number length = 0;
    cmsSaveProfileToMem(profile, nullptr, &length);
    QByteArray bytes(length, 0);
    cmsSaveProfileToMem(profile, bytes.data(), &length);
    cmsPipelineFree(pipeline);
    cmsDeleteTransform(filling.toLab);
    for (const cmsHPROFILE each : {lab, srgb, profile})
        cmsCloseProfile(each);
    return bytes;
}

QByteArray ColourProfiles::rotated()
{
    return ofTable(3, [](const auto &rgb) { return std::array{rgb[1], rgb[2], rgb[0]}; });
}

QByteArray ColourProfiles::rotatedInks()
{
    return ofTable(4, [](const auto &inks) {
        const auto left = [&](int ink) { return (1 - inks[ink]) * (1 - inks[3]); };
        return std::array{left(1), left(2), left(0)};
    });
}
