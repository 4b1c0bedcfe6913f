#include "library/ThumbnailDatabase.h"

#include "shared/platform/Platform.h"
#include "shared/threads/Guarded.h"

#include <QBuffer>
#include <QDate>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocale>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QtDebug>
#include <QThreadStorage>
#include <QTimeZone>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace {

constexpr int jpegQuality = 75;
constexpr int workerBusyTimeoutMs = 500;
constexpr int pauseAfterFailureMs = 5000;
// Its markers and tables alone take more.
constexpr int leastBytesOfJpeg = 125;

Guarded<QString> sharedFileName;
Guarded<QList<QTimeZone>> formerZones;

QString lookupStatement(const QString &columns, const QString &tableName)
{
    return QStringLiteral("SELECT ") + columns + QStringLiteral(" FROM ") + tableName
           + QStringLiteral(" WHERE fullPath = :fullPath AND size=:size AND creationTime=:creationTime");
}

QString insertStatement(const QString &tableName)
{
    return QStringLiteral("INSERT INTO ") + tableName
           + QStringLiteral(
               " (fullPath, resolution, size, creationTime, image, date) VALUES (:fullPath, :resolution, "
               ":size, :creationTime, :image, :date)");
}

QString createStatement(const QString &tableName)
{
    return QStringLiteral("CREATE TABLE IF NOT EXISTS ") + tableName
           + QStringLiteral(
               " (id INTEGER PRIMARY KEY AUTOINCREMENT, fullPath TEXT NOT NULL, resolution TEXT NOT NULL, "
               "size INTEGER, creationTime TEXT, image BLOB, date INTEGER)");
}

QString indexStatement(const QString &tableName)
{
    return QStringLiteral("CREATE INDEX IF NOT EXISTS %1Key ON %1 (fullPath, size, creationTime)")
        .arg(tableName);
}

bool isBusy(const QSqlError &error)
{
    // SQLITE_BUSY and SQLITE_LOCKED; the upper bits of an extended code say more.
    const int code = error.nativeErrorCode().toInt() & 0xff;
    return code == 5 || code == 6;
}

void bindSizeAndTime(QSqlQuery &query, qint64 size, const QString &time)
{
    query.bindValue(QStringLiteral(":size"), static_cast<quint64>(size));
    query.bindValue(QStringLiteral(":creationTime"), time);
}

/// A birth time as the table has it: local text of the present zone, then of those before.
QStringList textsOf(const QDateTime &time)
{
    QStringList texts(time.toString(Qt::TextDate));
    const auto zones = formerZones.lock();
    for (const QTimeZone &zone : std::as_const(*zones)) {
        // Qt::TextDate names the zone, unless it is the present one.
        const QString there =
            QLocale::c().toString(time.toTimeZone(zone), QStringLiteral("ddd MMM d HH:mm:ss yyyy"));
        if (!texts.contains(there))
            texts.append(there);
    }
    return texts;
}

/// The statements that the calling thread has prepared.
std::map<QString, QSqlQuery> &preparedStatements()
{
    static QThreadStorage<std::map<QString, QSqlQuery>> statements;
    return statements.localData();
}

/// The statement over this connection as the calling thread has prepared it; null if it cannot be prepared,
/// and `error` says why. Where a connection is removed, its statements go with its driver.
QSqlQuery *prepared(const QSqlDatabase &db, const QString &statement, QSqlError *error)
{
    auto &ofThread = preparedStatements();
    auto known = ofThread.find(statement);
    if (known != ofThread.end() && known->second.driver() == db.driver())
        return &known->second;
    QSqlQuery query(db);
    if (!query.prepare(statement)) {
        *error = query.lastError();
        return nullptr;
    }
    return &ofThread.insert_or_assign(statement, std::move(query)).first->second;
}

/// Runs a prepared statement. One that fails is prepared anew the next time: it may have died with a
/// connection that was closed.
[[nodiscard]] bool run(QSqlQuery &query, QSqlError *error)
{
    if (query.exec())
        return true;
    *error = query.lastError();
    preparedStatements().erase(query.lastQuery());
    return false;
}

[[nodiscard]] bool insert(const TThumbnailRecord &record, const QByteArray &jpeg, const QString &tableName,
                          const QSqlDatabase &db, QSqlError *error)
{
    QSqlQuery *const query = prepared(db, insertStatement(tableName), error);
    if (!query)
        return false;
    const QDate today = QDate::currentDate();
    query->bindValue(QStringLiteral(":fullPath"), record.fullPath);
    query->bindValue(QStringLiteral(":resolution"), record.resolution);
    bindSizeAndTime(*query, record.size, record.creationTime.toString(Qt::TextDate));
    query->bindValue(QStringLiteral(":image"), jpeg);
    query->bindValue(QStringLiteral(":date"), today.year() * 100 + today.month());
    if (!run(*query, error))
        return false;
    query->finish(); // so that it holds no lock
    return true;
}

/// Looks up the key of `record`, and calls `take` for its row.
ThumbnailDatabase::Outcome lookUp(const TThumbnailRecord &record, const QString &columns,
                                  const QString &tableName, const QSqlDatabase &db,
                                  const std::function<void(const QSqlQuery &row)> &take)
{
    using ThumbnailDatabase::Outcome;
    const auto failure = [](const QSqlError &error) {
        return isBusy(error) ? Outcome::Busy : Outcome::Failed;
    };
    QSqlError error;
    QSqlQuery *const query = prepared(db, lookupStatement(columns, tableName), &error);
    if (!query)
        return failure(error);
    for (const QString &time : textsOf(record.creationTime)) {
        query->bindValue(QStringLiteral(":fullPath"), record.fullPath);
        bindSizeAndTime(*query, record.size, time);
        if (!run(*query, &error))
            return failure(error);
        const bool hasRow = query->next();
        if (hasRow)
            take(*query);
        query->finish(); // so that it holds no lock
        if (hasRow)
            return Outcome::Found;
    }
    return Outcome::Missing;
}

/// A worker thread's own connection.
class Connection
{
public:
    ~Connection() { close(); }

    /// True if there is a row, which `take` has had.
    bool find(const TThumbnailRecord &record, const QString &columns,
              const std::function<void(const QSqlQuery &row)> &take)
    {
        using ThumbnailDatabase::Outcome;
        if (!ready())
            return false;
        const Outcome outcome = lookUp(record, columns, VistamoGlobal::thumbnailTableName, db, take);
        if (outcome != Outcome::Found && outcome != Outcome::Missing)
            pause();
        return outcome == Outcome::Found;
    }

    bool add(const TThumbnailRecord &record, const QByteArray &jpeg)
    {
        // Those who wait for SQLite's lock try now and then, and one of them may do so in vain.
        static std::mutex turn;
        const std::lock_guard lock(turn);
        QSqlError error;
        if (!ready())
            return false;
        if (insert(record, jpeg, VistamoGlobal::thumbnailTableName, db, &error))
            return true;
        if (isBusy(error))
            pause();
        return false;
    }

private:
    /// True if statements can be run. Opens the file where needed, but not during a pause.
    bool ready()
    {
        const QString current = *sharedFileName.lock();
        if (fileName != current) {
            close();
            fileName = current;
            pausedUntil = {};
        }
        if (!pausedUntil.hasExpired())
            return false;
        if (!db.isValid() && !open()) {
            close();
            pause();
        }
        return db.isValid();
    }

    bool open()
    {
        static std::atomic_int count = 0;
        db =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("thumbnails%1").arg(++count));
        db.setDatabaseName(fileName);
        const QString &tableName = VistamoGlobal::thumbnailTableName;
        QSqlError error;
        if (!ThumbnailDatabase::open(db, workerBusyTimeoutMs)
            || !ThumbnailDatabase::createTable(tableName, db)
            || !prepared(db, insertStatement(tableName), &error))
            return false;
        QSqlQuery(db).exec(indexStatement(tableName));
        return true;
    }

    void close()
    {
        const QString name = db.connectionName();
        db = QSqlDatabase();
        if (!name.isEmpty())
            QSqlDatabase::removeDatabase(name);
    }

    void pause() { pausedUntil.setRemainingTime(pauseAfterFailureMs); }

    QString fileName;
    QSqlDatabase db;            ///< valid while it is open
    QDeadlineTimer pausedUntil; // expired from the start
};

Connection &threadConnection()
{
    // Freed before the end of a thread is reported, unlike what is thread_local.
    static QThreadStorage<std::shared_ptr<Connection>> connections;
    if (!connections.hasLocalData())
        connections.setLocalData(std::make_shared<Connection>());
    return *connections.localData();
}

} // namespace

QString ThumbnailDatabase::folder()
{
    QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Thumbnails");
    QDir().mkpath(folder);
    Platform::keepToUser(folder); // there are all pictures, small
    return folder;
}

void ThumbnailDatabase::setFormerTimeZones(const QStringList &names)
{
    const auto zones = formerZones.lock();
    zones->clear();
    for (const QString &name : names) {
        if (const QTimeZone zone(name.toUtf8()); zone.isValid())
            zones->append(zone);
    }
}

void ThumbnailDatabase::setFileName(const QString &fileName)
{
    *sharedFileName.lock() = fileName;
}

bool ThumbnailDatabase::open(QSqlDatabase &db, int busyTimeout)
{
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeout));
    if (!db.open())
        return false;
    // Where there can be no such log, as on a network drive, the default one serves.
    QSqlQuery query(db);
    query.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    query.exec(QStringLiteral("PRAGMA synchronous=NORMAL"));
    return true;
}

TThumbnailRecord ThumbnailDatabase::keyOf(const QFileInfo &info)
{
    TThumbnailRecord key;
    key.fullPath = info.filePath();
    key.size = info.size();
    key.accessTime = info.fileTime(QFile::FileAccessTime);
    key.creationTime = info.fileTime(QFile::FileBirthTime);
    if (!key.creationTime.isValid())
        key.creationTime = info.fileTime(QFile::FileModificationTime);
    return key;
}

bool ThumbnailDatabase::tableExists(const QString &tableName, const QSqlDatabase &db)
{
    if (!db.isOpen())
        return false;
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' AND name=:tableName"));
    query.bindValue(QStringLiteral(":tableName"), tableName);
    return query.exec() && query.next();
}

bool ThumbnailDatabase::createTable(const QString &tableName, const QSqlDatabase &db)
{
    return db.isOpen() && QSqlQuery(db).exec(createStatement(tableName));
}

ThumbnailDatabase::Outcome ThumbnailDatabase::find(const TThumbnailRecord &record, const QString &tableName,
                                                   const QSqlDatabase &db, Stored &found)
{
    return lookUp(record, QStringLiteral("image, resolution"), tableName, db, [&](const QSqlQuery &row) {
        found = {row.value(0).toByteArray(), row.value(1).toString()};
    });
}

bool ThumbnailDatabase::complete(TThumbnailRecord &record, const QString &tableName, const QSqlDatabase &db)
{
    Stored found;
    const Outcome outcome = find(record, tableName, db, found);
    if (outcome == Outcome::Missing)
        return true;
    record.image = QImage();
    if (outcome != Outcome::Found)
        return false;
    record.resolution = found.resolution;
    record.image.loadFromData(found.jpeg, "JPG");
    return true;
}

std::optional<ThumbnailDatabase::Stored> ThumbnailDatabase::find(const TThumbnailRecord &record)
{
    Stored found;
    const bool isThere =
        threadConnection().find(record, QStringLiteral("image, resolution"), [&](const QSqlQuery &row) {
            found = {row.value(0).toByteArray(), row.value(1).toString()};
        });
    return isThere ? std::optional(found) : std::nullopt;
}

std::optional<QSize> ThumbnailDatabase::findResolution(const TThumbnailRecord &record)
{
    QSize full;
    const bool isThere = threadConnection().find(
        record, QStringLiteral("resolution, length(image)"), [&](const QSqlQuery &row) {
            const QString text = row.value(0).toString();
            const qsizetype times = text.indexOf(u'x');
            if (times > 0 && row.value(1).toInt() >= leastBytesOfJpeg)
                full = {QStringView(text).first(times).toInt(), QStringView(text).mid(times + 1).toInt()};
        });
    return isThere ? std::optional(full) : std::nullopt;
}

bool ThumbnailDatabase::add(const TThumbnailRecord &record, const QString &tableName, const QSqlDatabase &db)
{
    QSqlError error;
    return insert(record, encoded(record.image), tableName, db, &error);
}

bool ThumbnailDatabase::add(const TThumbnailRecord &record, const QByteArray &jpeg)
{
    return threadConnection().add(record, jpeg);
}

QByteArray ThumbnailDatabase::encoded(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "JPG", jpegQuality))
        return {};
    return bytes;
}
