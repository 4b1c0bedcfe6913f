#pragma once

#include <QString>

/// The file name broken into lines of 16 characters for the text under a thumbnail.
[[nodiscard]] QString wrapFileName(const QString &text);
