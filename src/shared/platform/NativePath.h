#pragma once

#include <QString>

#include <string>

/// An absolute path as the functions of Windows take it at any length: `\\?\C:\folder\file`, of a share
/// `\\?\UNC\server\share\file`. What is after the prefix is taken letter for letter, without "." and "..".
[[nodiscard]] QString extendedLengthPath(const QString &path);

/// The same for any path.
[[nodiscard]] std::wstring nativePath(const QString &path);
