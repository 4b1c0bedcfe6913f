#pragma once

#include <QIODevice>

/// True if a picture's EXIF data say that its colours are Adobe RGB, as cameras do that add no profile:
/// "uncalibrated", with the interoperability index R03 (JEITA CP-3461, DCF 2.0, optional colour space).
/// Looked for at both ends of the file, in any format.
[[nodiscard]] bool exifMeansAdobeRgb(QIODevice &file);
