#pragma once

#include <QImage>

class QIODevice;

/// The picture of a WebP file in a size of at most a quarter of its sides, from the file's beginning, as it
/// is stored: the means are taken first, and colours made of only these. Null if the file
/// has alpha or frames, is larger than 256 MB or broken, or if halved colours do not fill its sides: that
/// says nothing of its worth.
[[nodiscard]] QImage shrunkWebp(QIODevice &file, QSize size);
