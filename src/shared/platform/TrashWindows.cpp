#include "shared/platform/HeldFiles.h"
#include "shared/platform/Platform.h"
#include "shared/platform/WindowsHandle.h"

#include <QDir>
#include <QFileInfo>

#include <shellapi.h>
#include <shlobj.h>

namespace {

/// Stops what would erase a file, and sees whether one came to the recycle bin.
class RecycleSink final : public IFileOperationProgressSink
{
public:
    bool recycled = false;

    HRESULT STDMETHODCALLTYPE PreDeleteItem(DWORD flags, IShellItem *) override
    {
        return flags & TSF_DELETE_RECYCLE_IF_POSSIBLE ? S_OK : E_ABORT;
    }
    HRESULT STDMETHODCALLTYPE PostDeleteItem(DWORD, IShellItem *, HRESULT result, IShellItem *inBin) override
    {
        recycled = SUCCEEDED(result) && inBin;
        return S_OK;
    }

    // It lives on the stack of whoever waits for the operation.
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void **object) override
    {
        const bool known = id == IID_IUnknown || id == IID_IFileOperationProgressSink;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }

    HRESULT STDMETHODCALLTYPE StartOperations() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE FinishOperations(HRESULT) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PreRenameItem(DWORD, IShellItem *, LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostRenameItem(DWORD, IShellItem *, LPCWSTR, HRESULT, IShellItem *) override
    {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PreMoveItem(DWORD, IShellItem *, IShellItem *, LPCWSTR) override
    {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostMoveItem(DWORD, IShellItem *, IShellItem *, LPCWSTR, HRESULT,
                                           IShellItem *) override
    {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PreCopyItem(DWORD, IShellItem *, IShellItem *, LPCWSTR) override
    {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostCopyItem(DWORD, IShellItem *, IShellItem *, LPCWSTR, HRESULT,
                                           IShellItem *) override
    {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PreNewItem(DWORD, IShellItem *, LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostNewItem(DWORD, IShellItem *, LPCWSTR, LPCWSTR, DWORD, HRESULT,
                                          IShellItem *) override
    {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UpdateProgress(UINT, UINT) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ResetTimer() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PauseTimer() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ResumeTimer() override { return S_OK; }
};

/// Deletes by the shell's present interface. E_NOTIMPL where there is none.
HRESULT recycle(const std::wstring &path)
{
    IFileOperation *operation = nullptr;
    if (FAILED(CoCreateInstance(CLSID_FileOperation, nullptr, CLSCTX_ALL, IID_IFileOperation,
                                reinterpret_cast<void **>(&operation))))
        return E_NOTIMPL;
    IShellItem *item = nullptr;
    HRESULT result =
        SHCreateItemFromParsingName(path.c_str(), nullptr, IID_IShellItem, reinterpret_cast<void **>(&item));
    RecycleSink sink;
    if (SUCCEEDED(result))
        result = operation->SetOperationFlags(FOF_ALLOWUNDO | FOF_NOCONFIRMATION | FOF_SILENT | FOF_NOERRORUI
                                              | FOFX_RECYCLEONDELETE | FOFX_EARLYFAILURE);
    if (SUCCEEDED(result))
        result = operation->DeleteItem(item, &sink);
    if (SUCCEEDED(result))
        result = operation->PerformOperations();
    if (SUCCEEDED(result) && !sink.recycled)
        result = E_FAIL;
    if (item)
        item->Release();
    operation->Release();
    return result;
}

/// True while somebody has the file open and does not let it be removed: the shell says of that what it
/// likes.
bool isHeld(const std::wstring &path)
{
    const WindowsHandle file(path, DELETE, FILE_FLAG_OPEN_REPARSE_POINT);
    return !file.isValid() && GetLastError() == ERROR_SHARING_VIOLATION;
}

/// The same by the older interface, which erases where there is no bin: local drives alone, whose bin
/// answers. Where a bin takes nothing all the same, the system asks.
bool recycleByName(std::wstring path)
{
    wchar_t root[MAX_PATH] = {};
    SHQUERYRBINFO bin = {};
    bin.cbSize = sizeof(bin);
    if (!GetVolumePathNameW(path.c_str(), root, MAX_PATH) || GetDriveTypeW(root) != DRIVE_FIXED
        || FAILED(SHQueryRecycleBinW(root, &bin)))
        return false;
    path.push_back(L'\0'); // the list of files ends with an empty one
    SHFILEOPSTRUCTW operation = {};
    operation.wFunc = FO_DELETE;
    operation.pFrom = path.c_str();
    operation.fFlags = FOF_ALLOWUNDO | FOF_NOCONFIRMATION | FOF_SILENT | FOF_NOERRORUI | FOF_WANTNUKEWARNING;
    return SHFileOperationW(&operation) == 0 && !operation.fAnyOperationsAborted;
}

} // namespace

/// Where a volume has no recycle bin, its files stay.
bool Platform::moveToTrash(const QString &path, const Move &, HeldFiles &heldFiles)
{
    using Outcome = HeldFiles::Outcome;
    const std::wstring native = QDir::toNativeSeparators(QFileInfo(path).absoluteFilePath()).toStdWString();
    const HRESULT started = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const bool done = heldFiles.tryAgain([&] {
        if (isHeld(native))
            return Outcome::Held;
        const HRESULT result = recycle(native);
        const bool done = result == E_NOTIMPL ? recycleByName(native) : SUCCEEDED(result);
        return done ? Outcome::Done : Outcome::Failed;
    });
    if (SUCCEEDED(started))
        CoUninitialize();
    return done;
}
