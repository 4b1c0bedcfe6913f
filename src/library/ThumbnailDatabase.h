#pragma once

#include "shared/VistamoGlobal.h"

#include <QByteArray>
#include <QFileInfo>

#include <optional>

/// The thumbnail database behind the operations of `VistamoGlobal`. Each worker thread has a connection of
/// its own, opened when it is first needed and closed with the thread; the GUI thread opens its own.
///
/// No failure is reported beyond the result. Where the file is locked by somebody else, it is left alone for
/// a while after a failed attempt, so that the lock costs the cache and not the time.
namespace ThumbnailDatabase {

/// A thumbnail as it is kept: the bytes of a JPEG file.
struct Stored
{
    QByteArray jpeg;
    QString resolution; ///< of the full picture, as "4032x3024"
};

/// How a lookup went.
enum class Outcome
{
    Found,
    Missing,
    Failed,
    Busy
};

/// The file that the connections of all threads open. Said once, before the workers start.
void setFileName(const QString &fileName);

/// Opens `db` on its file: write-ahead log, so that readers and a writer don't wait for each other and being
/// killed never damages the file. Waits `busyTimeout` milliseconds for a lock. False if it cannot be opened.
[[nodiscard]] bool open(QSqlDatabase &db, int busyTimeout);

/// What identifies the thumbnail of a file. Where the file system keeps no birth time, the modification time
/// stands in for it.
[[nodiscard]] TThumbnailRecord keyOf(const QFileInfo &info);

/// Looks up the key of `record` over the connection `db`. Of several rows with the key the oldest counts.
[[nodiscard]] Outcome find(const TThumbnailRecord &record, const QString &tableName, const QSqlDatabase &db,
                           Stored &found);

/// The same over the calling thread's own connection and the program's table; nothing but for a hit.
[[nodiscard]] std::optional<Stored> find(const TThumbnailRecord &record);

/// Adds a row over the calling thread's own connection; `jpeg` is the encoded thumbnail. False if it failed.
[[nodiscard]] bool add(const TThumbnailRecord &record, const QByteArray &jpeg);

} // namespace ThumbnailDatabase
