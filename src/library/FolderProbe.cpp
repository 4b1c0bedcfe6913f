#include "library/FolderProbe.h"

#include "shared/platform/Platform.h"
#include "shared/threads/Guarded.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QtDebug>

#include <memory>
#include <system_error>
#include <thread>

namespace {

using Answers = Guarded<QHash<QString, FolderState>>;

FolderState stateOf(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists())
        return FolderState::There;
    if (path.isEmpty())
        return FolderState::Gone;
    const QString parent = info.path();
    const bool isAway = Platform::isMountPlace(path) || !Platform::isMissing(path)
                        || !QFileInfo::exists(parent)
                        || (Platform::isMountPlace(parent) && QDir(parent).isEmpty());
    return isAway ? FolderState::Away : FolderState::Gone;
}

} // namespace

QHash<QString, FolderState> probeFolders(const QStringList &paths, int milliseconds)
{
    // Shared with the threads, since one that hangs outlives the call.
    const auto answers = std::make_shared<Answers>();
    for (const QString &path : paths) {
        const auto look = [answers, path] {
            const FolderState state = stateOf(path);
            auto access = answers->lock();
            access->insert(path, state);
            access.wakeOne();
        };
        try {
            std::thread(look).detach();
        } catch (const std::system_error &error) {
            qDebug() << "probeFolders: " << error.what(); // too many threads: no answer
        }
    }

    const QDeadlineTimer deadline(milliseconds);
    const qsizetype different = QSet<QString>(paths.cbegin(), paths.cend()).size();
    auto access = answers->lock();
    while (access->size() < different && access.wait(deadline)) {
    }
    return *access;
}
