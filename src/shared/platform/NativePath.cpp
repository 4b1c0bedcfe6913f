#include "shared/platform/NativePath.h"

#include <QDir>
#include <QFileInfo>

QString extendedLengthPath(const QString &path)
{
    // https://learn.microsoft.com/windows/win32/fileio/maximum-file-path-limitation
    const QString native = QString(path).replace(u'/', u'\\');
    if (native.startsWith(QLatin1String("\\\\?\\")) || native.startsWith(QLatin1String("\\\\.\\")))
        return native;
    if (native.startsWith(QLatin1String("\\\\")))
        return QLatin1String("\\\\?\\UNC\\") + native.mid(2);
    return QLatin1String("\\\\?\\") + native;
}

std::wstring nativePath(const QString &path)
{
    return extendedLengthPath(QDir::cleanPath(QFileInfo(path).absoluteFilePath())).toStdWString();
}
