#include "shared/platform/CocoaCode.h"

#include "shared/platform/FolderPicker.h"

void CocoaCode::requestFolder()
{
    const FolderPicker picker;
    const QString folder = picker.selectFolder(picker.documentsFolder(), tr("Select folder ..."));
    if (!folder.isEmpty())
        emit folderSelected(folder);
}
