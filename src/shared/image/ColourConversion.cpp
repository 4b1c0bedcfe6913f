#include "shared/image/ColourConversion.h"

#include "shared/image/ColourCodePoints.h"
#include "shared/image/ColourToneMapping.h"
#include "shared/image/ParallelRows.h"

#include <QColorSpace>

#include <lcms2.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;
using Transform = std::unique_ptr<void, decltype(&cmsDeleteTransform)>;

Profile opened(const QByteArray &profile)
{
    return {cmsOpenProfileFromMem(profile.constData(), static_cast<cmsUInt32Number>(profile.size())),
            cmsCloseProfile};
}

/// What brings pixels of these layouts from the profile to sRGB; null if the profile has no such way.
Transform toSrgb(const Profile &profile, cmsUInt32Number from, cmsUInt32Number to, QSize size)
{
    constexpr qint64 pixelsWorthATable = 100'000; // littlecms fills one of about 36,000 entries
    const bool isSmall = qint64(size.width()) * size.height() < pixelsWorthATable;
    const Profile srgb(cmsCreate_sRGBProfile(), cmsCloseProfile);
    // The cache would be shared by the threads.
    const cmsUInt32Number flags = cmsFLAGS_NOCACHE | (isSmall ? cmsFLAGS_NOOPTIMIZE : 0);
    return {cmsCreateTransform(profile.get(), from, srgb.get(), to, INTENT_PERCEPTUAL, flags),
            cmsDeleteTransform};
}

bool isDeep(const QImage &image)
{
    return image.depth() > 32 || image.format() == QImage::Format_Grayscale16;
}

/// The picture in samples of 8 or 16 bits in the order red, green, blue, alpha.
QImage inOrder(QImage image)
{
    const bool alpha = image.hasAlphaChannel();
    image.convertTo(isDeep(image) ? alpha ? QImage::Format_RGBA64 : QImage::Format_RGBX64
                    : alpha       ? QImage::Format_RGBA8888
                                  : QImage::Format_RGBX8888);
    return image;
}

/// littlecms' word for a pixel: samples of the colour space `space`, then others that are passed over.
cmsUInt32Number layout(int space, int samples, int others, bool deep)
{
    return COLORSPACE_SH(space) | CHANNELS_SH(samples) | EXTRA_SH(others) | BYTES_SH(deep ? 2 : 1);
}

QImage convertedByTables(const QImage &image, const QByteArray &bytes)
{
    const Profile profile = opened(bytes);
    const auto model = profile ? cmsGetColorSpace(profile.get()) : cmsColorSpaceSignature(0);
    if (model != cmsSigRgbData && model != cmsSigGrayData)
        return image;
    const bool grey = model == cmsSigGrayData;
    const bool deep = isDeep(image);
    const Transform transform =
        toSrgb(profile, layout(grey ? PT_GRAY : PT_RGB, grey ? 1 : 3, grey ? 3 : 1, deep),
               layout(PT_RGB, 3, 1, deep), image.size());
    if (!transform)
        return image;
    QImage converted = inOrder(image);
    uchar *const pixels = converted.bits();
    const qsizetype stride = converted.bytesPerLine();
    parallelRows(converted.size(), [&](int first, int last) {
        for (int y = first; y < last; ++y)
            cmsDoTransform(transform.get(), pixels + y * stride, pixels + y * stride,
                           static_cast<cmsUInt32Number>(converted.width()));
    });
    converted.setColorSpace(QColorSpace::SRgb);
    return converted;
}

/// True for a profile that goes by tables, which count before the primaries that it may have as well.
bool hasTables(const QByteArray &profile)
{
    constexpr qsizetype header = 128;
    constexpr qsizetype mostOfTagList = 1024;
    return profile.mid(header, mostOfTagList).contains("A2B0");
}

template <typename Sample>
void print(QImage &inked, const QImage &black, const Transform &transform)
{
    uchar *const pixels = inked.bits();
    const qsizetype stride = inked.bytesPerLine();
    const int width = inked.width();
    parallelRows(inked.size(), [&](int first, int last) {
        std::vector<Sample> inks(transform ? 4 * static_cast<size_t>(width) : 0);
        for (int y = first; y < last; ++y) {
            auto *pixel = reinterpret_cast<Sample *>(pixels + y * stride);
            const auto *key = reinterpret_cast<const Sample *>(black.constScanLine(y));
            if (transform) {
                for (size_t x = 0; x < static_cast<size_t>(width); ++x) {
                    std::copy_n(pixel + 4 * x, 3, inks.data() + 4 * x);
                    inks[4 * x + 3] = key[x];
                }
                cmsDoTransform(transform.get(), inks.data(), pixel, static_cast<cmsUInt32Number>(width));
                continue;
            }
            for (int x = 0; x < width; ++x, pixel += 4)
                for (int i = 0; i < 3; ++i)
                    pixel[i] =
                        static_cast<Sample>(quint32(pixel[i]) * key[x] / std::numeric_limits<Sample>::max());
        }
    });
}

} // namespace

QImage Colour::inSrgb(QImage image)
{
    const QColorSpace space = image.colorSpace();
    if (space == QColorSpace(QColorSpace::SRgb))
        return image;
    const QByteArray profile = space.iccProfile();
    if (const std::optional<CodePoints> points = highDynamicRange(profile))
        return toneMapped(std::move(image), *points);
    if (!profile.isEmpty() && (!space.isValid() || hasTables(profile)))
        return convertedByTables(image, profile);
    if (space.isValid())
        image.convertToColorSpace(QColorSpace::SRgb);
    return image;
}

QImage Colour::fromInks(QImage inked, const QImage &black, const QByteArray &bytes)
{
    inked = inOrder(std::move(inked));
    const Profile profile = opened(bytes);
    const bool isOfInks = profile && cmsGetColorSpace(profile.get()) == cmsSigCmykData;
    const bool deep = isDeep(inked);
    const Transform transform = isOfInks ? toSrgb(profile, layout(PT_CMYK, 4, 0, deep) | FLAVOR_SH(1),
                                                  layout(PT_RGB, 3, 1, deep), inked.size())
                                         : Transform(nullptr, cmsDeleteTransform);
    if (deep)
        print<quint16>(inked, black, transform);
    else
        print<quint8>(inked, black, transform);
    inked.setColorSpace(transform ? QColorSpace(QColorSpace::SRgb) : QColorSpace());
    return inked;
}

Colour::ScreenTransform::ScreenTransform(const QByteArray &bytes)
{
    const Profile profile = opened(bytes);
    if (!profile || cmsGetColorSpace(profile.get()) != cmsSigRgbData)
        return;
    const Profile srgb(cmsCreate_sRGBProfile(), cmsCloseProfile);
    transform.reset(cmsCreateTransform(srgb.get(), TYPE_RGBA_8, profile.get(), TYPE_RGBA_8,
                                       INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE),
                    [](void *made) {
                        if (made)
                            cmsDeleteTransform(made);
                    });
    // Many screens have the profile of sRGB itself.
    QImage colours(9 * 9, 9, QImage::Format_RGBX8888);
    for (int x = 0; x < colours.width(); ++x)
        for (int y = 0; y < colours.height(); ++y)
            colours.setPixel(x, y, qRgb(x / 9 * 255 / 8, x % 9 * 255 / 8, y * 255 / 8));
    const QImage shown = applied(colours);
    const auto same = [](uchar one, uchar other) { return std::abs(one - other) <= 1; };
    if (std::equal(shown.constBits(), shown.constBits() + shown.sizeInBytes(), colours.constBits(), same))
        transform.reset();
}

QImage Colour::ScreenTransform::applied(const QImage &image) const
{
    if (!transform || image.isNull())
        return image;
    QImage shown =
        image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_RGBA8888 : QImage::Format_RGBX8888);
    uchar *const pixels = shown.bits();
    const qsizetype stride = shown.bytesPerLine();
    parallelRows(shown.size(), [&](int first, int last) {
        for (int y = first; y < last; ++y)
            cmsDoTransform(transform.get(), pixels + y * stride, pixels + y * stride,
                           static_cast<cmsUInt32Number>(shown.width()));
    });
    return shown;
}
