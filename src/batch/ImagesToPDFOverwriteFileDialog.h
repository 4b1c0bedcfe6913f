#pragma once

#include "shared/dialogs/OverwriteFileDialog.h"

/// The question about files that stand in the way of converted ones.
class ImagesToPDFOverwriteFileDialog : public OverwriteFileDialog
{
    Q_OBJECT

public:
    explicit ImagesToPDFOverwriteFileDialog(QWidget *parent)
        : OverwriteFileDialog(parent)
    {
        resize(774, 536);
    }

    /// Targets and their sources, in pairs; all are ticked.
    void setFiles(const QStringList &fileExistsList, const QStringList &fileSourceList)
    {
        showFiles(fileExistsList, fileSourceList);
    }

signals:
    /// The sources that are to be converted again, at least one.
    void overwriteFiles(QStringList urls);

protected:
    void overwrite(const QStringList &, const QStringList &fileSourceList) override
    {
        emit overwriteFiles(fileSourceList);
    }
};
