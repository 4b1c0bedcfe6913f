#pragma once

#include <QSettings>

/// The program's settings store, opened anew for each use.
inline QSettings programSettings()
{
    return QSettings(QStringLiteral("Orrelan"), QStringLiteral("Vistamo"));
}

/// The same for the options of the batch tools.
inline QSettings batchSettings()
{
    return QSettings(QStringLiteral("Orrelan"), QStringLiteral("ImageToPDF"));
}
