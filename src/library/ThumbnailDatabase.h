#pragma once

#include "shared/VistamoGlobal.h"

#include <QByteArray>
#include <QFileInfo>
#include <QSize>

#include <optional>

/// The thumbnail database. Each worker thread has a connection of its own, opened when it is first needed and
/// closed with the thread; the GUI thread opens its own. A thread prepares each statement once.
///
/// A database that is closed, damaged, locked or full costs the cache and nothing else: no failure is
/// reported beyond the result. Where the file is locked by somebody else, a worker leaves it alone for a
/// while after a failed attempt, so that the lock costs the cache and not the time.
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

/// The folder of the database, made if it is missing.
[[nodiscard]] QString folder();

/// The file that the connections of all threads open. Said once, before the workers start.
void setFileName(const QString &fileName);

/// The names of the time zones that were in use before the present one: what was stored then is found by the
/// text that a birth time had there. Said once, before the workers start.
void setFormerTimeZones(const QStringList &names);

/// Opens `db` on its file: write-ahead log, so that readers and a writer don't wait for each other and being
/// killed never damages the file. Waits `busyTimeout` milliseconds for a lock. False if it cannot be opened.
[[nodiscard]] bool open(QSqlDatabase &db, int busyTimeout);

/// True if the open database has the table.
[[nodiscard]] bool tableExists(const QString &tableName, const QSqlDatabase &db);

/// Makes the table if it is missing.
[[nodiscard]] bool createTable(const QString &tableName, const QSqlDatabase &db);

/// What identifies the thumbnail of a file. Where the file system keeps no birth time, the modification time
/// stands in for it.
[[nodiscard]] TThumbnailRecord keyOf(const QFileInfo &info);

/// Looks up the key of `record` over the connection `db`. Of several rows with the key the oldest counts.
[[nodiscard]] Outcome find(const TThumbnailRecord &record, const QString &tableName, const QSqlDatabase &db,
                           Stored &found);

/// Looks up the record's key and fills in its image and resolution; the image is null for a miss. False only
/// if the query failed.
[[nodiscard]] bool complete(TThumbnailRecord &record, const QString &tableName, const QSqlDatabase &db);

/// The stored thumbnail, over the calling worker's own connection; nothing for a miss.
[[nodiscard]] std::optional<Stored> find(const TThumbnailRecord &record);

/// The size of the full picture, from which that of its thumbnail follows: the stored one is not read. Over
/// the calling worker's own connection. Nothing for a miss; empty for a row without a size or a thumbnail.
[[nodiscard]] std::optional<QSize> findResolution(const TThumbnailRecord &record);

/// Adds a row for the record, whose image is encoded. A record without `resolution` is refused by the table.
[[nodiscard]] bool add(const TThumbnailRecord &record, const QString &tableName, const QSqlDatabase &db);

/// Adds a row over the calling worker's own connection; `jpeg` is the encoded thumbnail. False if it failed.
[[nodiscard]] bool add(const TThumbnailRecord &record, const QByteArray &jpeg);

/// The image as a JPEG file of quality 75; empty for a null image.
[[nodiscard]] QByteArray encoded(const QImage &image);

} // namespace ThumbnailDatabase
