#pragma once

#include <string>

/// Runs the Windows shell's classic folder browser, modal on the calling thread and over the window with the
/// handle `owner`, which takes no input meanwhile; opened on `startFolder`. Paths have native separators.
/// Gives an empty string if the user cancels. A title or start folder of 260 characters or more is left out.
[[nodiscard]] std::wstring browseForFolder(void *owner, const std::wstring &startFolder,
                                           const std::wstring &title);
