#include "library/ThumbnailDatabase.h"

#include "shared/threads/Guarded.h"

#include <QBuffer>
#include <QDate>
#include <QDeadlineTimer>
#include <QDir>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QtDebug>
#include <QThreadStorage>

#include <atomic>
#include <memory>

namespace {

constexpr int jpegQuality = 75;
constexpr int workerBusyTimeoutMs = 500;
constexpr int pauseAfterFailureMs = 5000;

Guarded<QString> sharedFileName;

QString lookupStatement(const QString &tableName)
{
    return QStringLiteral("SELECT image, resolution FROM ") + tableName
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

void bindSizeAndTime(QSqlQuery &query, const TThumbnailRecord &record)
{
    query.bindValue(QStringLiteral(":size"), static_cast<quint64>(record.size));
    query.bindValue(QStringLiteral(":creationTime"), record.creationTime.toString(Qt::TextDate));
}

/// Runs a prepared lookup. The query is left finished, so that it holds no lock and no memory.
ThumbnailDatabase::Outcome runLookup(QSqlQuery &query, const TThumbnailRecord &record,
                                     ThumbnailDatabase::Stored &found)
{
    query.bindValue(QStringLiteral(":fullPath"), record.fullPath);
    bindSizeAndTime(query, record);
    if (!query.exec()) {
        return isBusy(query.lastError()) ? ThumbnailDatabase::Outcome::Busy
                                         : ThumbnailDatabase::Outcome::Failed;
    }
    const bool hasRow = query.next();
    if (hasRow)
        found = {query.value(0).toByteArray(), query.value(1).toString()};
    query.finish();
    return hasRow ? ThumbnailDatabase::Outcome::Found : ThumbnailDatabase::Outcome::Missing;
}

[[nodiscard]] bool runInsertion(QSqlQuery &query, const TThumbnailRecord &record, const QByteArray &jpeg)
{
    const QDate today = QDate::currentDate();
    query.bindValue(QStringLiteral(":fullPath"), record.fullPath);
    query.bindValue(QStringLiteral(":resolution"), record.resolution);
    bindSizeAndTime(query, record);
    query.bindValue(QStringLiteral(":image"), jpeg);
    query.bindValue(QStringLiteral(":date"), today.year() * 100 + today.month());
    const bool done = query.exec();
    query.finish();
    return done;
}

/// A worker thread's own connection with its two statements, prepared once.
class Connection
{
public:
    ~Connection() { close(); }

    std::optional<ThumbnailDatabase::Stored> find(const TThumbnailRecord &record)
    {
        ThumbnailDatabase::Stored found;
        if (!ready())
            return std::nullopt;
        const auto outcome = runLookup(*lookup, record, found);
        if (outcome == ThumbnailDatabase::Outcome::Found)
            return found;
        if (outcome != ThumbnailDatabase::Outcome::Missing)
            pause();
        return std::nullopt;
    }

    bool add(const TThumbnailRecord &record, const QByteArray &jpeg)
    {
        if (!ready())
            return false;
        if (runInsertion(*insertion, record, jpeg))
            return true;
        if (isBusy(insertion->lastError()))
            pause();
        return false;
    }

private:
    /// True if the statements can be run. Opens the file where needed, but not during a pause.
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
        if (!isOpen) {
            open();
            if (!isOpen) {
                close();
                pause();
            }
        }
        return isOpen;
    }

    void open()
    {
        static std::atomic_int count = 0;
        name = QStringLiteral("thumbnails%1").arg(++count);
        const QString &tableName = VistamoGlobal::thumbnailTableName;
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(fileName);
        lookup.emplace(db);
        insertion.emplace(db);
        isOpen = ThumbnailDatabase::open(db, workerBusyTimeoutMs)
                 && VistamoGlobal().createThumbnailTable(tableName, db)
                 && lookup->prepare(lookupStatement(tableName))
                 && insertion->prepare(insertStatement(tableName));
        if (isOpen)
            QSqlQuery(db).exec(indexStatement(tableName));
    }

    void close()
    {
        lookup.reset();
        insertion.reset();
        isOpen = false;
        if (!name.isEmpty())
            QSqlDatabase::removeDatabase(name);
        name.clear();
    }

    void pause() { pausedUntil.setRemainingTime(pauseAfterFailureMs); }

    QString fileName;
    QString name;
    std::optional<QSqlQuery> lookup;
    std::optional<QSqlQuery> insertion;
    QDeadlineTimer pausedUntil; // expired from the start
    bool isOpen = false;
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

ThumbnailDatabase::Outcome ThumbnailDatabase::find(const TThumbnailRecord &record, const QString &tableName,
                                                   const QSqlDatabase &db, Stored &found)
{
    QSqlQuery query(db);
    if (!query.prepare(lookupStatement(tableName)))
        return isBusy(query.lastError()) ? Outcome::Busy : Outcome::Failed;
    return runLookup(query, record, found);
}

std::optional<ThumbnailDatabase::Stored> ThumbnailDatabase::find(const TThumbnailRecord &record)
{
    return threadConnection().find(record);
}

bool ThumbnailDatabase::add(const TThumbnailRecord &record, const QByteArray &jpeg)
{
    return threadConnection().add(record, jpeg);
}

bool VistamoGlobal::thumbnailTableExists(const QString &tableName, const QSqlDatabase &db) const
{
    if (!db.isOpen())
        return false;
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' AND name=:tableName"));
    query.bindValue(QStringLiteral(":tableName"), tableName);
    return query.exec() && query.next();
}

bool VistamoGlobal::createThumbnailTable(const QString &tableName, const QSqlDatabase &db) const
{
    return db.isOpen() && QSqlQuery(db).exec(createStatement(tableName));
}

bool VistamoGlobal::getThumbnail(TThumbnailRecord &record, const QString &tableName,
                                 const QSqlDatabase &db) const
{
    ThumbnailDatabase::Stored found;
    switch (ThumbnailDatabase::find(record, tableName, db, found)) {
    case ThumbnailDatabase::Outcome::Found:
        record.resolution = found.resolution;
        record.image = QImage();
        record.image.loadFromData(found.jpeg, "JPG");
        return true;
    case ThumbnailDatabase::Outcome::Missing:
        return true;
    default:
        record.image = QImage();
        return false;
    }
}

bool VistamoGlobal::addThumbnail(const TThumbnailRecord &record, const QString &tableName,
                                 const QSqlDatabase &db) const
{
    QSqlQuery query(db);
    return query.prepare(insertStatement(tableName))
           && runInsertion(query, record, imageToByteArray(record.image));
}

QByteArray VistamoGlobal::imageToByteArray(const QImage &image) const
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "JPG", jpegQuality))
        return {};
    return bytes;
}

QString VistamoGlobal::getThumbnailsFolder() const
{
    QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Thumbnails");
    QDir().mkpath(folder);
    return folder;
}
