#pragma once

#include <QSize>

struct BatchOptions;

/// How pictures lie on the pages of a PDF. A page is a grid of device pixels, and a picture's pixel takes
/// one.

/// Distance of a picture from the left and the upper edge of its page, device pixels at any resolution.
[[nodiscard]] int pdfMargin(const BatchOptions &options);

/// Room for a picture on a page of `page` device pixels; empty or negative where the margins leave none.
[[nodiscard]] QSize pdfAvailableSize(QSize page, int margin);

/// Size of a picture on its page, device pixels: shrunk if it is not smaller than the room both ways; if it
/// is, left as it is, or enlarged until it touches one side. Empty if nothing can be drawn.
[[nodiscard]] QSize pdfPictureSize(QSize picture, QSize available, bool enlarge);
