#include "shared/platform/ShellFolderBrowser.h"

#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <algorithm>

namespace {

/// Copies with the terminating zero; a text that does not fit leaves the buffer empty.
void copyIfItFits(wchar_t (&buffer)[MAX_PATH], const std::wstring &text)
{
    buffer[0] = 0;
    if (text.size() < MAX_PATH)
        std::copy(text.c_str(), text.c_str() + text.size() + 1, buffer);
}

/// Selects the start folder, handed over as `data`, as soon as the dialog is up.
int CALLBACK browseCallback(HWND hwnd, UINT message, LPARAM, LPARAM data)
{
    if (message == BFFM_INITIALIZED)
        SendMessageW(hwnd, BFFM_SETSELECTIONW, TRUE, data);
    return 0;
}

} // namespace

std::wstring browseForFolder(void *owner, const std::wstring &startFolder, const std::wstring &title)
{
    wchar_t titleBuffer[MAX_PATH];
    wchar_t startBuffer[MAX_PATH];
    wchar_t displayName[MAX_PATH] = {};
    copyIfItFits(titleBuffer, title);
    copyIfItFits(startBuffer, startFolder);

    BROWSEINFOW info = {};
    info.hwndOwner = static_cast<HWND>(owner);
    info.pszDisplayName = displayName;
    info.lpszTitle = titleBuffer;
    info.ulFlags = BIF_RETURNONLYFSDIRS | BIF_EDITBOX | BIF_NEWDIALOGSTYLE;
    info.lpfn = browseCallback;
    info.lParam = reinterpret_cast<LPARAM>(startBuffer);

    const PIDLIST_ABSOLUTE chosen = SHBrowseForFolderW(&info);
    if (!chosen)
        return {};

    wchar_t path[MAX_PATH] = {};
    SHGetPathFromIDListW(chosen, path);
    IMalloc *allocator = nullptr;
    if (SUCCEEDED(SHGetMalloc(&allocator))) {
        allocator->Free(chosen);
        allocator->Release();
    }
    return path;
}
