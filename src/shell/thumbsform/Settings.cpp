#include "shell/ThumbsForm.h"

#include "library/FolderProbe.h"
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

} // namespace

void ThumbsForm::loadSettings()
{
    QSettings store = programSettings();
    setImageScale(storedScaleMode(BrowserSettings::imageScale.read(store)));
    VistamoGlobal::showGallery = BrowserSettings::showGallery.read(store);
    VistamoGlobal::showCheckbox = BrowserSettings::showCheckbox.read(store);
    VistamoGlobal::iconSize = BrowserSettings::iconSize.read(store);

    const int viewIcon = std::min(VistamoGlobal::iconSize, largestViewIcon);
    ui->mainListView->setIconSize(QSize(viewIcon, viewIcon));
    checkIconSizeButtons();

    ui->galleryButton->setChecked(VistamoGlobal::showGallery);
    ui->galleryTableView->setVisible(VistamoGlobal::showGallery);
    VistamoGlobal::exportImagePath = BrowserSettings::exportImagePath().read(store);

    loadFolderList(store);

    ui->pathWidget->setVisible(!folders.isEmpty());
    if (!folders.isEmpty())
        loadFolder(folders.pathAt(0));
    showList(!folders.isEmpty());

    ui->showCheckboxButton->setChecked(VistamoGlobal::showCheckbox);
    ui->hideCheckboxButton->setChecked(!VistamoGlobal::showCheckbox);
}

/// Restores the list in its order: each folder goes to the top. One that is gone is left out; one on a drive
/// that doesn't answer stays.
void ThumbsForm::loadFolderList(QSettings &store)
{
    const int count = std::min(BrowserSettings::folderListCount.read(store), mostFolders);
    QStringList paths;
    for (int index = 0; index < count; ++index)
        paths.append(BrowserSettings::folderList(index).read(store));

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
    QSettings store = programSettings();
    BrowserSettings::imageScale.write(store, static_cast<int>(pictureView.mode()));
    BrowserSettings::showGallery.write(store, VistamoGlobal::showGallery);
    BrowserSettings::showCheckbox.write(store, VistamoGlobal::showCheckbox);
    BrowserSettings::exportImagePath().write(store, VistamoGlobal::exportImagePath);
    BrowserSettings::iconSize.write(store, VistamoGlobal::iconSize);

    const int count = std::min(folders.count(), mostFolders);
    BrowserSettings::folderListCount.write(store, count);
    // Last first, since each is put at the top when the list is restored.
    for (int index = 0; index < count; ++index)
        BrowserSettings::folderList(index).write(store, folders.pathAt(count - 1 - index));
}
