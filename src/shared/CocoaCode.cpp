#include "shared/CocoaCode.h"

#include "shared/FolderPicker.h"

void CocoaCode::requestFolder()
{
    const FolderPicker picker;
    const QString folder = picker.selectFolder(picker.documentsFolder(), tr("Select folder ..."));
    if (!folder.isEmpty())
        emit folderSelected(folder);
}
