#pragma once

#include <QString>

/// Side of the square icon of a row of the batch list, pixels.
constexpr int batchIconSide = 64;

/// The text of a row: file name, resolution and folder, a line each. It is all that a row says of its file.
[[nodiscard]] QString batchItemText(const QString &path, const QString &resolution);

/// The file of a row, from its text.
[[nodiscard]] QString fullPathFromItemText(const QString &text);
