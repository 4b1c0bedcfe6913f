#pragma once

#include "shared/dialogs/OverwriteFileDialog.h"

/// The question about files that stand in the way of copies.
class VistamoOverwriteFileDialog : public OverwriteFileDialog
{
    Q_OBJECT

public:
    explicit VistamoOverwriteFileDialog(QWidget *parent)
        : OverwriteFileDialog(parent)
    {
        setObjectName(QStringLiteral("VistamoOverwriteFileDialog"));
    }

    /// Targets and their sources, in pairs; all are ticked.
    void setFileList(const QStringList &fileExistsList, const QStringList &fileSourceList)
    {
        showFiles(fileExistsList, fileSourceList);
    }

signals:
    /// The pairs that were left ticked, at least one.
    void overwriteFiles(QStringList fileExistsList, QStringList fileSourceList);

protected:
    void overwrite(const QStringList &fileExistsList, const QStringList &fileSourceList) override
    {
        emit overwriteFiles(fileExistsList, fileSourceList);
    }
};
