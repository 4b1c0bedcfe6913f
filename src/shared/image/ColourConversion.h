#pragma once

#include <QByteArray>
#include <QImage>

#include <memory>

/// What pictures mean by their colours, brought to sRGB. Qt does that for profiles made of primaries and
/// curves, littlecms for all others. Safe to call from any thread.
namespace Colour {

/// The picture in sRGB, by the profile of its colour space; as it is if it has none, or one that does not fit
/// it.
[[nodiscard]] QImage inSrgb(QImage image);

/// A picture in inks as sRGB. `inked` has what cyan, magenta and yellow leave of the paper's white in the
/// places of red, green and blue, perhaps with alpha; `black` is grey, of the same size, and has what black
/// ink leaves of it. Without a CMYK profile that can be read, colours are a plain product. The picture has no
/// profile then.
[[nodiscard]] QImage fromInks(QImage inked, const QImage &black, const QByteArray &profile);

/// The way from sRGB to a screen.
class ScreenTransform
{
public:
    ScreenTransform() = default;
    /// None if the profile is empty, cannot be used for showing, or is as good as sRGB.
    explicit ScreenTransform(const QByteArray &profile);

    [[nodiscard]] bool isNeeded() const { return transform != nullptr; }
    /// The picture, in 8 bits, as the screen is to be given it; itself if no transform is needed.
    [[nodiscard]] QImage applied(const QImage &image) const;

private:
    std::shared_ptr<void> transform;
};

} // namespace Colour
