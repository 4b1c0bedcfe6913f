#pragma once

#include <QDateTime>
#include <QFileDevice>
#include <QPoint>
#include <QString>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

class HeldFiles;
class QObject;

/// What the program needs of the operating system beyond Qt, defined in one set of files per system.
namespace Platform {

/// Bytes of memory that this process may use: the least of what the machine has and of the limits that the
/// system sets on the process (on Linux its control groups and resource limits).
[[nodiscard]] qint64 usableMemory();

/// Bytes of memory that this process takes at this moment; 0 if the system does not tell.
[[nodiscard]] qint64 usedMemory();

/// Processor time that this process has used, milliseconds.
[[nodiscard]] qint64 processorTime();

/// That of the calling thread alone.
[[nodiscard]] double threadProcessorTime();

/// Flushes an open file to the disk. False if that failed.
[[nodiscard]] bool flushToDisk(const QFileDevice &file);

/// The same for the names in a folder, where the system knows it.
void flushFolder(const QString &path);

/// True if nothing stands at a path; false also where that cannot be told, as of a share whose server is
/// away.
[[nodiscard]] bool isMissing(const QString &path);

/// Opens a file for reading while others may replace, rename or remove it. Its number, or -1 if that failed,
/// or wherever this is nothing special.
[[nodiscard]] int openShared(const QString &path);

/// Opens a new file in a folder, for reading and writing, that has no name and goes with its handle. Its
/// number, or -1 where the system does not know such files.
/// @param forUserAlone whether nobody else may open it
[[nodiscard]] int openUnnamed(const QString &folder, bool forUserAlone);

/// Marks a file as at work as long as it is open, whatever its age. Where the system removes no file that is
/// open, and on file systems that know no locks, nothing.
void markAtWork(const QFileDevice &file);

/// True for a file that a process on this machine has marked, and may not be removed.
[[nodiscard]] bool isAtWork(const QString &path);

/// Gives an open file without a name one in its folder. False if that failed, or something stands there.
[[nodiscard]] bool giveName(const QFileDevice &file, const QString &path);

/// The permissions of a new file that the user alone may open; nothing where new files go by the access list
/// of their folder.
[[nodiscard]] std::optional<QFileDevice::Permissions> privatePermissions();

/// Makes a folder, if it is not there, that nobody else may look into; nothing where what belongs to a user
/// is closed to others by itself.
void keepToUser(const QString &folder);

/// Renames a file within its file system, also to a name that differs by case alone. False, with both as they
/// were, if something else stands at `to`, a link to nothing too.
[[nodiscard]] bool renameToNew(const QString &from, const QString &to, HeldFiles &heldFiles);

/// Puts a file in the place of another one of its file system in one step, a write-protected one too; a link
/// is replaced itself. False, with both as they were, if that failed.
[[nodiscard]] bool replaceFile(const QString &from, const QString &to, HeldFiles &heldFiles);

/// Removes a file, a write-protected one too. False, with the file as it was, if that failed.
[[nodiscard]] bool removeFile(const QString &path, HeldFiles &heldFiles);

/// Copies a part of an open file to the same place in another, without its passing through this process: on
/// the disk or its server, or as blocks that both files share, where the file system can. Neither stands
/// elsewhere afterwards. Bytes copied; 0 at the end, and where the system does not know that.
/// @param at a multiple of a megabyte
[[nodiscard]] qint64 copyPart(const QFileDevice &from, const QFileDevice &to, qint64 at, qint64 most);

/// Gives an open file what belongs to another one beside its content, as far as both their file systems can:
/// extended attributes and the access list; on Windows the further streams.
void copyAttributes(const QString &from, QFileDevice &to);

/// Gives an open file another time of its last change, where its file system lets it have that.
void setModificationTime(QFileDevice &file, const QDateTime &time);

/// Moves one file, or leaves it as it is. False then, with nothing at `to` that was not there before.
using Move = std::function<bool(const QString &from, const QString &to)>;

/// Moves a file to the user's trash, never over another there. False if no trash takes it: the file stays.
/// @param moveAcross moves a file to another file system, where its own has no trash
[[nodiscard]] bool moveToTrash(const QString &path, const Move &moveAcross, HeldFiles &heldFiles);

/// True for a path at which nothing stands but the root of a drive, a share or a medium while it is there.
[[nodiscard]] bool isMountPlace(const QString &path);

/// The ICC profile of a screen; empty if the system names none. May wait for the display, and a second for a
/// service: not for the GUI thread.
/// @param corner the screen's upper left one on the desktop, in pixels of the system
/// @param name as Qt gives it
[[nodiscard]] QByteArray screenProfile(QPoint corner, const QString &name);

/// Calls a slot without parameters, on its object's thread, whenever the system tells that screens' profiles
/// change. May wait as `screenProfile` does.
void followScreenProfiles(QObject &receiver, const char *slot);

/// Asks for large pages behind memory of many megabytes that will be filled at once: each page costs a fault.
/// Where the system has none, or gives them unasked, nothing.
void useLargePages(void *memory, size_t bytes);

/// Gives memory that was freed in small pieces back to the system, where that does not happen by itself.
void returnFreedMemory();

/// From now on each block of a megabyte or more goes back to the system as soon as it is freed, at the price
/// of a fault for each of its pages when the next is taken. Where that happens by itself, nothing.
void returnLargeBlocksAtOnce();

/// Lowers the priority of the calling thread from now on.
void lowerThreadPriority();

/// Calls `end`, on the GUI thread, when the system asks the program to end; at once if it asks again. Where
/// it asks by closing the window, nothing. Needs the application's object.
void whenAskedToEnd(const std::function<void()> &end);

/// Calls `mark` on the thread that crashes the program, before it ends as it would without; `mark` may do no
/// more than write to memory.
void whenCrashing(void (*mark)());

/// Lets Qt take over the colours of a dark desktop, where it does so only if told to. Before the
/// application's object; what it gives is let go of once that stands, or programs that it starts would be
/// told too.
[[nodiscard]] std::shared_ptr<void> followDarkDesktop();

/// Keeps the screen from falling asleep for as long as what it gives lives, where the desktop can be told so.
/// GUI thread.
[[nodiscard]] std::shared_ptr<void> keepScreenAwake();

/// Asks the user for a folder, modal, in the system's own dialog. `startFolder` is shown first if it exists.
/// Gives an empty string if the user cancels, otherwise a path as the system writes it.
[[nodiscard]] QString selectFolder(const QString &startFolder, const QString &title);

} // namespace Platform
