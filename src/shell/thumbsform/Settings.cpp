#include "shell/ThumbsForm.h"

#include "library/FolderProbe.h"
#include "shared/Settings.h"
#include "ui_ThumbsForm.h"

#include <QFileIconProvider>

#include <algorithm>

namespace {

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

    loadFolderList();

    ui->pathWidget->setVisible(!folders.isEmpty());
    if (!folders.isEmpty())
        loadFolder(folders.pathAt(0));
    showList(!folders.isEmpty());

    ui->showCheckboxButton->setChecked(VistamoGlobal::showCheckbox);
    ui->hideCheckboxButton->setChecked(!VistamoGlobal::showCheckbox);
}

/// Restores the list in its order: each folder goes to the top. One that is gone is left out; one on a drive
/// that is away or doesn't answer stays.
void ThumbsForm::loadFolderList()
{
    QStringList paths = folders.stored().read();
    std::reverse(paths.begin(), paths.end());
    const QHash<QString, FolderState> states = probeFolders(paths, folderAnswerMs);
    for (const QString &path : std::as_const(paths)) {
        const FolderState state = states.value(path, FolderState::Away);
        if (state == FolderState::There)
            addFolderToList(path);
        else if (state == FolderState::Away)
            insertFolder(path, QFileIconProvider().icon(QFileIconProvider::Folder));
    }
}

void ThumbsForm::store()
{
    saveSettings();
    exports.finish();
    onSaveImageFinished(); // which those that were waited for don't tell
}

void ThumbsForm::saveSettings()
{
    QSettings store = programSettings();
    BrowserSettings::imageScale.write(store, static_cast<int>(pictureView.mode()));
    BrowserSettings::showGallery.write(store, VistamoGlobal::showGallery);
    BrowserSettings::showCheckbox.write(store, VistamoGlobal::showCheckbox);
    BrowserSettings::exportImagePath().write(store, VistamoGlobal::exportImagePath);
    BrowserSettings::iconSize.write(store, VistamoGlobal::iconSize);
    folders.stored().write();
}
