#pragma once

#include <QWidget>

/// The batch form's way of asking for a folder.
class CocoaCode : public QWidget
{
    Q_OBJECT

public:
    CocoaCode() = default;

    /// Opens the folder picker on the documents folder and reports the folder, if one is chosen.
    void requestFolder();

signals:
    void folderSelected(QString path);
};
