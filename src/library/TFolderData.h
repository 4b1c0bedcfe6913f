#pragma once

#include <QIcon>
#include <QString>

/// One folder of the library.
struct TFolderData
{
    QString fileName; ///< as the side tree shows it; empty for the root of a drive
    QString path;     ///< the parent folder
    QString fullPath; ///< as it was given: its identity, and what the settings keep
    QIcon icon;
};
