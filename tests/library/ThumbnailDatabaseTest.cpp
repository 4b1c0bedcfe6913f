#include "library/ThumbnailDatabase.h"
#include "support/Pictures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>
#include <thread>

namespace {

const QString table = QStringLiteral("FileData");

TThumbnailRecord recordOf(const QString &path)
{
    TThumbnailRecord record;
    record.fullPath = path;
    record.size = 5'000'000'000;
    record.creationTime = QDateTime(QDate(2026, 11, 21), QTime(10, 20, 30, 400));
    record.resolution = QStringLiteral("4032x3024");
    record.image = Pictures::quarters(QSize(256, 192));
    return record;
}

/// The key of a record, and nothing else.
TThumbnailRecord keyOf(TThumbnailRecord record)
{
    record.resolution.clear();
    record.image = QImage();
    return record;
}

} // namespace

class ThumbnailDatabaseTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void rowsAreKeptAsAgreed();
    void everyPartOfTheKeyCounts();
    void oldestRowOfAKeyWins();
    void failedDecodesAreRefused();
    void connectionsOfThreadsShareTheFile();
    void lookupsUseTheIndex();
    void damageCostsTheCacheOnly_data();
    void damageCostsTheCacheOnly();
    void lockedFileIsNotWaitedForAgainAndAgain();
    void folderIsMade();
    void keyTimeFallsBackToTheModification();

private:
    QVariant query(const QString &text)
    {
        QSqlQuery query(db);
        return query.exec(text) && query.next() ? query.value(0) : QVariant(query.lastError().text());
    }

    std::unique_ptr<QTemporaryDir> folder;
    QString fileName;
    QSqlDatabase db;
    const VistamoGlobal global = {};
};

void ThumbnailDatabaseTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    fileName = folder->filePath("thumbnail.db");
    ThumbnailDatabase::setFileName(fileName);
    db = QSqlDatabase::addDatabase("QSQLITE", "test");
    db.setDatabaseName(fileName);
    QVERIFY(!global.thumbnailTableExists(table, db));
    QVERIFY(ThumbnailDatabase::open(db, 1000));
    QVERIFY(!global.thumbnailTableExists(table, db));
    QVERIFY(global.createThumbnailTable(table, db));
    QVERIFY(global.thumbnailTableExists(table, db));
}

void ThumbnailDatabaseTest::cleanup()
{
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase("test");
}

void ThumbnailDatabaseTest::rowsAreKeptAsAgreed()
{
    const TThumbnailRecord record = recordOf(QString::fromUtf8("/photos/it's \"1%\"\n\u05d0.jpg"));
    QVERIFY(global.addThumbnail(record, table, db));

    TThumbnailRecord found = keyOf(record);
    QVERIFY(global.getThumbnail(found, table, db));
    QCOMPARE(found.resolution, record.resolution);
    QCOMPARE(found.image.size(), record.image.size());
    QCOMPARE(Pictures::quartersOf(found.image), "red green blue yellow");

    const QDate today = QDate::currentDate();
    QCOMPARE(query("SELECT fullPath FROM FileData").toString(), record.fullPath);
    QCOMPARE(query("SELECT size FROM FileData").toLongLong(), record.size);
    QCOMPARE(query("SELECT creationTime FROM FileData").toString(),
             QStringLiteral("Sat Nov 21 10:20:30 2026"));
    QCOMPARE(query("SELECT date FROM FileData").toInt(), today.year() * 100 + today.month());
    QCOMPARE(query("SELECT image FROM FileData").toByteArray(), global.imageToByteArray(record.image));
    QVERIFY(query("SELECT image FROM FileData").toByteArray().startsWith("\xff\xd8\xff"));
    QCOMPARE(
        query("SELECT group_concat(name || ' ' || type, ', ') FROM pragma_table_info('FileData')").toString(),
        QStringLiteral(
            "id INTEGER, fullPath TEXT, resolution TEXT, size INTEGER, creationTime TEXT, image BLOB, "
            "date INTEGER"));
}

void ThumbnailDatabaseTest::everyPartOfTheKeyCounts()
{
    const TThumbnailRecord record = recordOf("/photos/a.jpg");
    QVERIFY(global.addThumbnail(record, table, db));
    const QList<std::function<void(TThumbnailRecord &)>> changes = {
        [](auto &key) { key.fullPath = "/photos/A.jpg"; },
        [](auto &key) { key.size += 1; },
        [](auto &key) { key.creationTime = key.creationTime.addSecs(1); },
        [](auto &key) { key.creationTime = QDateTime(); },
    };
    for (const auto &change : changes) {
        TThumbnailRecord key = keyOf(record);
        change(key);
        QVERIFY(global.getThumbnail(key, table, db));
        QVERIFY(key.image.isNull());
        QVERIFY(key.resolution.isEmpty());
    }
    TThumbnailRecord sameSecond = keyOf(record);
    sameSecond.creationTime = sameSecond.creationTime.addMSecs(500);
    QVERIFY(global.getThumbnail(sameSecond, table, db));
    QVERIFY(!sameSecond.image.isNull());
}

void ThumbnailDatabaseTest::oldestRowOfAKeyWins()
{
    TThumbnailRecord record = recordOf("/photos/a.jpg");
    const TThumbnailRecord key = keyOf(record);
    QVERIFY(ThumbnailDatabase::add(record, "no picture"));
    QVERIFY(global.addThumbnail(record, table, db));
    TThumbnailRecord found = key;
    QVERIFY(global.getThumbnail(found, table, db));
    QVERIFY(found.image.isNull());
    QCOMPARE(ThumbnailDatabase::find(key)->jpeg, QByteArray("no picture"));
}

void ThumbnailDatabaseTest::failedDecodesAreRefused()
{
    TThumbnailRecord record = keyOf(recordOf("/photos/broken.jpg"));
    QVERIFY(!global.addThumbnail(record, table, db));
    QCOMPARE(query("SELECT count(*) FROM FileData").toInt(), 0);
}

void ThumbnailDatabaseTest::connectionsOfThreadsShareTheFile()
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < 50; ++i) {
                TThumbnailRecord record = recordOf(QStringLiteral("/%1/%2.jpg").arg(thread).arg(i));
                ThumbnailDatabase::add(record, "bytes");
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(query("SELECT count(*) FROM FileData").toInt(), 200);
    QCOMPARE(query("PRAGMA journal_mode").toString(), "wal");
    // Each thread has taken its connection with it.
    for (const QString &name : QSqlDatabase::connectionNames())
        QVERIFY2(name == "test" || name.startsWith("thumbnails1"), qPrintable(name));
}

void ThumbnailDatabaseTest::lookupsUseTheIndex()
{
    QVERIFY(!ThumbnailDatabase::find(recordOf("/a.jpg")));
    QCOMPARE(query("SELECT count(*) FROM FileData").toInt(), 0); // takes notice of the index
    QSqlQuery plan(db);
    QVERIFY(
        plan.exec("EXPLAIN QUERY PLAN SELECT image, resolution FROM FileData WHERE fullPath = 'a' AND size=1 "
                  "AND creationTime='x'"));
    QVERIFY(plan.next());
    QVERIFY2(plan.value(3).toString().contains("USING INDEX"), qPrintable(plan.value(3).toString()));
}

void ThumbnailDatabaseTest::damageCostsTheCacheOnly_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("usable");
    QTest::addRow("random bytes") << QByteArray(20000, '\x5a') << false;
    QTest::addRow("zero length") << QByteArray("") << true;
    QTest::addRow("header alone") << QByteArray("SQLite format 3\0", 16) << false;
    QTest::addRow("folder of that name") << QByteArray() << false;
}

void ThumbnailDatabaseTest::damageCostsTheCacheOnly()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, usable);
    const QString damaged = folder->filePath("damaged.db");
    if (content.isNull()) {
        QVERIFY(QDir().mkdir(damaged));
    } else {
        QFile file(damaged);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    ThumbnailDatabase::setFileName(damaged);
    QVERIFY(!ThumbnailDatabase::find(recordOf("/a.jpg")));
    QCOMPARE(ThumbnailDatabase::add(recordOf("/a.jpg"), "bytes"), usable);
    QCOMPARE(ThumbnailDatabase::find(recordOf("/a.jpg")).has_value(), usable);

    QSqlDatabase bad = QSqlDatabase::addDatabase("QSQLITE", "damaged");
    bad.setDatabaseName(damaged);
    ThumbnailDatabase::open(bad, 0);
    TThumbnailRecord record = recordOf("/b.jpg");
    QCOMPARE(global.addThumbnail(record, table, bad), usable);
    QCOMPARE(global.getThumbnail(record, table, bad), usable);
    bad = QSqlDatabase();
    QSqlDatabase::removeDatabase("damaged");
}

void ThumbnailDatabaseTest::lockedFileIsNotWaitedForAgainAndAgain()
{
    QVERIFY(ThumbnailDatabase::add(recordOf("/a.jpg"), "bytes"));
    QSqlQuery lock(db);
    QVERIFY(lock.exec("BEGIN IMMEDIATE"));
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 50; ++i)
        QVERIFY(!ThumbnailDatabase::add(recordOf("/b.jpg"), "bytes"));
    QVERIFY2(time.elapsed() < 3000, qPrintable(QString::number(time.elapsed())));
    QVERIFY(lock.exec("ROLLBACK"));
}

void ThumbnailDatabaseTest::folderIsMade()
{
    const QString data = folder->filePath("not/there/yet");
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(data));
    QCOMPARE(global.getThumbnailsFolder(), data + "/Thumbnails");
    QVERIFY(QDir(data + "/Thumbnails").exists());
    qputenv("XDG_DATA_HOME", before);
}

void ThumbnailDatabaseTest::keyTimeFallsBackToTheModification()
{
    TFileRecord record;
    record.modifiedTime = QDateTime::currentDateTime();
    QCOMPARE(ThumbnailDatabase::keyTime(record), record.modifiedTime);
    record.creationTime = record.modifiedTime.addDays(-1);
    QCOMPARE(ThumbnailDatabase::keyTime(record), record.creationTime);
    const QFileInfo proc("/proc/self/status"); // keeps no birth time
    QCOMPARE(ThumbnailDatabase::keyTime(proc).isValid(), true);
}

QTEST_GUILESS_MAIN(ThumbnailDatabaseTest)
#include "ThumbnailDatabaseTest.moc"
