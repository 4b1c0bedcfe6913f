#pragma once

#include <QString>
#include <QtGlobal>

/// Which system's rules the name of a file keeps.
enum class FileNameRules
{
    Unix,
    Windows,
#ifdef Q_OS_WIN
    Native = Windows
#else
    Native = Unix
#endif
};

/// True if a new file can have this name in its folder: one that is empty, leads to another folder, or means
/// a device or a hidden stream to the system is none.
[[nodiscard]] bool isNewFileName(const QString &name, FileNameRules rules = FileNameRules::Native);
