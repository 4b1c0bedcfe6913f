#pragma once

#include <cstring>
#include <type_traits>

#include <windows.h>

#include <psapi.h>

/// On Windows: functions of the system that are replaced for all that calls them in this process.
namespace Imports {

inline void replaceIn(HMODULE module, const char *name, void *mine)
{
    auto *const base = reinterpret_cast<char *>(module);
    const auto *const start = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
    const auto *const headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(base + start->e_lfanew);
    const auto &imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (imports.VirtualAddress == 0)
        return;
    auto *library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(base + imports.VirtualAddress);
    for (; library->Name != 0; ++library) {
        const auto *imported = reinterpret_cast<const IMAGE_THUNK_DATA *>(base + library->OriginalFirstThunk);
        auto *function = reinterpret_cast<void **>(base + library->FirstThunk);
        for (; library->OriginalFirstThunk && imported->u1.AddressOfData; ++imported, ++function) {
            if (IMAGE_SNAP_BY_ORDINAL(imported->u1.Ordinal)
                || std::strcmp(base + imported->u1.AddressOfData + sizeof(WORD), name) != 0)
                continue;
            DWORD before = 0;
            VirtualProtect(function, sizeof(*function), PAGE_READWRITE, &before);
            *function = mine;
            VirtualProtect(function, sizeof(*function), before, &before);
        }
    }
}

/// Puts `mine` in the place of a function of kernel32, for all modules that are loaded by now. Gives that
/// function.
template <typename Function>
Function replace(const char *name, std::type_identity_t<Function> mine)
{
    const HMODULE system = GetModuleHandleW(L"kernel32");
    HMODULE modules[512];
    DWORD bytes = 0;
    K32EnumProcessModules(GetCurrentProcess(), modules, sizeof(modules), &bytes);
    for (DWORD i = 0; i < bytes / sizeof(HMODULE); ++i)
        if (modules[i] != system) // which imports from others what it hands on
            replaceIn(modules[i], name, reinterpret_cast<void *>(mine));
    return reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(system, name)));
}

} // namespace Imports
