#include "batch/PdfPageLayout.h"

#include "batch/BatchOptions.h"

#include <algorithm>

namespace {

// More than any sheet has at any resolution; a picture on it would not fit into memory.
constexpr float longestSide = 100'000;

/// A side of the picture, which keeps a pixel however thin it is. Below zero, and what is no number, is 0.
int wholePixels(float side)
{
    return side > 0 && side <= longestSide ? std::max(1, static_cast<int>(side)) : 0;
}

} // namespace

int pdfMargin(const BatchOptions &options)
{
    constexpr int largest = 100'000; // from a damaged settings file
    return options.pageMargin ? std::clamp(options.pageMarginSize, 0, largest / 10) * 10 : 0;
}

QSize pdfAvailableSize(QSize page, int margin)
{
    return page - 2 * QSize(margin, margin);
}

QSize pdfPictureSize(QSize picture, QSize available, bool enlarge)
{
    if (picture.isEmpty())
        return {};
    auto width = static_cast<float>(picture.width());
    auto height = static_cast<float>(picture.height());
    const auto ratioW = static_cast<float>(static_cast<double>(width) / available.width());
    const auto ratioH = static_cast<float>(static_cast<double>(height) / available.height());
    if (ratioW < 1.0F && ratioH < 1.0F) {
        if (enlarge) {
            const auto fW = static_cast<float>(static_cast<double>(available.width()) / width);
            const auto fH = static_cast<float>(static_cast<double>(available.height()) / height);
            const float factor = fH > fW ? fW : fH;
            width *= factor;
            height *= factor;
        }
    } else {
        const float divisor = ratioW > ratioH ? ratioW : ratioH;
        width /= divisor;
        height /= divisor;
    }
    const QSize size(wholePixels(width), wholePixels(height));
    return size.isEmpty() ? QSize() : size;
}
