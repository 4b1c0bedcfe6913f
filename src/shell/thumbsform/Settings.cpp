#include "shell/ThumbsForm.h"

#include "library/FolderProbe.h"
#include "shared/FolderPicker.h"
#include "shared/Settings.h"
#include "ui_ThumbsForm.h"

#include <QFileIconProvider>

#include <algorithm>

namespace {

constexpr int mostFolders = 20;
// Folders on a disk answer within a few of these; the start doesn't wait longer for those that don't.
constexpr int folderAnswerMs = 300;
// The size that the stored value gives to the view, until a button brings it into its own limits.
constexpr int largestViewIcon = 1024;

QString folderKey(int index)
{
    return QStringLiteral("folderList%1").arg(index);
}

} // namespace

void ThumbsForm::loadSettings()
{
    QSettings settings = programSettings();
    settings.beginGroup(QStringLiteral("General"));
    setImageScale(storedScaleMode(settings.value(QStringLiteral("imageScale"), 0).toInt()));
    VistamoGlobal::showGallery = settings.value(QStringLiteral("showGallery"), true).toBool();
    VistamoGlobal::showCheckbox = settings.value(QStringLiteral("showCheckbox"), true).toBool();
    VistamoGlobal::iconSize = settings.value(QStringLiteral("iconSize"), 128).toInt();

    const int viewIcon = std::min(VistamoGlobal::iconSize, largestViewIcon);
    ui->mainListView->setIconSize(QSize(viewIcon, viewIcon));
    checkIconSizeButtons();

    ui->galleryButton->setChecked(VistamoGlobal::showGallery);
    ui->galleryTableView->setVisible(VistamoGlobal::showGallery);
    VistamoGlobal::exportImagePath =
        settings.value(QStringLiteral("exportImagePath"), FolderPicker().picturesFolder()).toString();

    loadFolderList(settings);
    settings.endGroup();

    ui->pathWidget->setVisible(!folders.isEmpty());
    if (!folders.isEmpty())
        loadFolder(folders.pathAt(0));
    showList(!folders.isEmpty());

    ui->showCheckboxButton->setChecked(VistamoGlobal::showCheckbox);
    ui->hideCheckboxButton->setChecked(!VistamoGlobal::showCheckbox);
}

/// Restores the list in its order: each folder goes to the top. One that is gone is left out; one on a drive
/// that doesn't answer stays.
void ThumbsForm::loadFolderList(QSettings &settings)
{
    const int count = std::min(settings.value(QStringLiteral("folderListCount"), 0).toInt(), mostFolders);
    QStringList paths;
    for (int index = 0; index < count; ++index)
        paths.append(settings.value(folderKey(index)).toString());

    const QHash<QString, bool> exists = probeFolders(paths, folderAnswerMs);
    for (const QString &path : paths) {
        if (exists.contains(path))
            addFolderToList(path);
        else
            insertFolder(path, QFileIconProvider().icon(QFileIconProvider::Folder));
    }
}

void ThumbsForm::saveSettings()
{
    QSettings settings = programSettings();
    settings.beginGroup(QStringLiteral("General"));
    settings.setValue(QStringLiteral("imageScale"), static_cast<int>(imageScale));
    settings.setValue(QStringLiteral("showGallery"), VistamoGlobal::showGallery);
    settings.setValue(QStringLiteral("showCheckbox"), VistamoGlobal::showCheckbox);
    settings.setValue(QStringLiteral("exportImagePath"), VistamoGlobal::exportImagePath);
    settings.setValue(QStringLiteral("iconSize"), VistamoGlobal::iconSize);

    const int count = std::min(folders.count(), mostFolders);
    settings.setValue(QStringLiteral("folderListCount"), count);
    // Last first, since each is put at the top when the list is restored.
    for (int index = 0; index < count; ++index)
        settings.setValue(folderKey(index), folders.pathAt(count - 1 - index));
    settings.endGroup();
}
