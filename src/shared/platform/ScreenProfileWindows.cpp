#include "shared/platform/Platform.h"

#include <QByteArray>
#include <QFile>

#include <string>
#include <windows.h>

QByteArray Platform::screenProfile(int, const QString &name)
{
    constexpr qint64 mostBytes = 16 << 20;
    const std::wstring device = name.toStdWString();
    HDC context = CreateDCW(L"DISPLAY", device.c_str(), nullptr, nullptr);
    if (!context)
        context = CreateDCW(L"DISPLAY", nullptr, nullptr, nullptr);
    if (!context)
        return {};
    std::wstring path(32768, L'\0');
    auto length = static_cast<DWORD>(path.size());
    const bool found = GetICMProfileW(context, &length, path.data()) != FALSE;
    DeleteDC(context);
    QFile file(QString::fromWCharArray(path.c_str()));
    return found && file.open(QIODevice::ReadOnly) ? file.read(mostBytes) : QByteArray();
}
