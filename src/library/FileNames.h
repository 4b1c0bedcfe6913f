#pragma once

#include <QString>

/// The file name broken into lines of 16 characters for the text under a thumbnail.
QString wrapFileName(const QString &text);

/// The same text for all spellings of a path: whatever the case and the kind of the separators.
QString pathKey(const QString &path);

/// True if both are the same path, whatever the case and the kind of the separators.
bool isSamePath(const QString &a, const QString &b);
