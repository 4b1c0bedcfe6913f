#include "shared/platform/Platform.h"

#include <QByteArray>
#include <QFile>
#include <QPoint>

#include <string>
#include <windows.h>

QByteArray Platform::screenProfile(QPoint corner, const QString & /*name*/)
{
    constexpr qint64 mostBytes = 16 << 20;
    MONITORINFOEXW monitor{};
    monitor.cbSize = sizeof monitor;
    if (!GetMonitorInfoW(MonitorFromPoint({corner.x(), corner.y()}, MONITOR_DEFAULTTOPRIMARY), &monitor))
        return {};
    const HDC context = CreateDCW(L"DISPLAY", monitor.szDevice, nullptr, nullptr);
    if (!context)
        return {};
    std::wstring path(32768, L'\0');
    auto length = static_cast<DWORD>(path.size());
    const bool found = GetICMProfileW(context, &length, path.data()) != FALSE;
    DeleteDC(context);
    QFile file(QString::fromWCharArray(path.c_str()));
    return found && file.open(QIODevice::ReadOnly) ? file.read(mostBytes) : QByteArray();
}

/// The system does not tell. The user comes back from another program where it is set.
void Platform::followScreenProfiles(QObject & /*receiver*/, const char * /*slot*/) {}
