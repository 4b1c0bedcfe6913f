#include "library/FolderProbe.h"

#include "shared/platform/Platform.h"
#include "shared/threads/Guarded.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QtDebug>

#include <map>
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
    std::map<QString, std::thread> threads;
    for (const QString &path : paths) {
        const auto look = [answers, path] {
            const FolderState state = stateOf(path);
            auto access = answers->lock();
            access->insert(path, state);
            access.wakeOne();
        };
        try {
            threads.try_emplace(path, look);
        } catch (const std::system_error &error) {
            qDebug() << "probeFolders: " << error.what(); // too many threads: no answer
        }
    }

    const QDeadlineTimer deadline(milliseconds);
    auto access = answers->lock();
    while (access->size() < static_cast<qsizetype>(threads.size()) && access.wait(deadline)) {
    }
    // Only one that hangs is let go: in the compiler's runtime for Windows, one that ends just then takes the
    // next one with it.
    for (auto &[path, thread] : threads)
        access->contains(path) ? thread.join() : thread.detach();
    return *access;
}
