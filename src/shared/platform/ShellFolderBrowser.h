#pragma once

#include <string>

/// Runs the Windows shell's classic folder browser, modal on the calling thread, opened on `startFolder`.
/// Gives the path with native separators, or an empty string if the user cancels. A title or start folder
/// of 260 characters or more is left out.
[[nodiscard]] std::wstring browseForFolder(const std::wstring &startFolder, const std::wstring &title);
