#pragma once

#include <string>

#include <windows.h>

/// What the system calls an open file, which is closed with it. Others may read, write and remove the file
/// meanwhile, unless said otherwise.
class WindowsHandle
{
public:
    static constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

    /// Opens a file that is there; a link itself with FILE_FLAG_OPEN_REPARSE_POINT among the flags. The error
    /// of one that could not be opened is the system's last.
    WindowsHandle(const std::wstring &path, DWORD access, DWORD flags = 0, DWORD share = shareAll,
                  DWORD disposition = OPEN_EXISTING)
        : handle(CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr))
    {
    }
    ~WindowsHandle()
    {
        if (isValid())
            CloseHandle(handle);
    }
    WindowsHandle(const WindowsHandle &) = delete;
    WindowsHandle &operator=(const WindowsHandle &) = delete;

    [[nodiscard]] bool isValid() const { return handle != INVALID_HANDLE_VALUE; }
    operator HANDLE() const { return handle; }

    /// Gives the handle away, to be closed by another.
    HANDLE release()
    {
        const HANDLE released = handle;
        handle = INVALID_HANDLE_VALUE;
        return released;
    }

private:
    HANDLE handle;
};
