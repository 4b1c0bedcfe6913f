#pragma once

#include <QFileInfo>
#include <QMimeData>

class QDropEvent;

/// Dropping folders and images on the browser. Of what is dropped only the first URL counts.
namespace FileDrop {

/// The path of the first URL, empty if there is none that is a local file.
[[nodiscard]] QString firstPath(const QMimeData *mimeData);

/// True if the first URL is a folder or an image.
[[nodiscard]] bool bringsImages(const QMimeData *mimeData);

/// Accepts a drag that brings a folder or an image, as a link, and refuses any other. True for a folder; the
/// drop itself doesn't look again.
[[nodiscard]] bool enter(QDropEvent *event);

/// Emits the `addFolder` signal of `view` that belongs to what was dropped.
template <typename View>
void drop(const QMimeData *mimeData, bool isDirDrop, View *view)
{
    const QString path = firstPath(mimeData);
    if (path.isEmpty())
        return;
    const QFileInfo info(path);
    if (isDirDrop)
        emit view->addFolder(path);
    else
        emit view->addFolder(info.path(), info.fileName());
}

} // namespace FileDrop
