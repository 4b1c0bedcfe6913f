#include "library/ThumbnailDatabase.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtSql>

#include <functional>
#include <thread>

namespace {

const QString table = QStringLiteral("FileData");

TThumbnailRecord keyOf(const QString &path)
{
    return {{}, path, 5'000'000'000, {}, QDateTime(QDate(2026, 11, 21), QTime(10, 20, 30, 400)), {}};
}

TThumbnailRecord recordOf(const QString &path)
{
    TThumbnailRecord record = keyOf(path);
    record.resolution = QStringLiteral("4032x3024");
    record.image = Pictures::quarters(QSize(256, 192));
    return record;
}

} // namespace

class ThumbnailDatabaseTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"folder.db"});
        ThumbnailDatabase::setFileName(path("thumbnail.db"));
        db = QSqlDatabase::addDatabase("QSQLITE", "test");
        db.setDatabaseName(path("thumbnail.db"));
        QVERIFY(ThumbnailDatabase::open(db, 1000));
        QVERIFY(global.createThumbnailTable(table, db));
    }

    void cleanup()
    {
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase("test");
    }

    void rowsAreKeptAsAgreed()
    {
        const QString path = QString::fromUtf8("/photos/it's \"1%\"\n\u05d0.jpg");
        const TThumbnailRecord record = recordOf(path);
        QVERIFY(global.addThumbnail(record, table, db));
        TThumbnailRecord found = keyOf(path);
        QVERIFY(global.getThumbnail(found, table, db));
        db.close();
        QVERIFY(ThumbnailDatabase::open(db, 1000));
        static_cast<void>(global.getThumbnail(found, table, db)); // finds out that its statement has died
        found.resolution.clear();
        QVERIFY(global.getThumbnail(found, table, db));
        QCOMPARE(found.resolution, record.resolution);
        QVERIFY(!global.addThumbnail(keyOf("/broken.jpg"), table, db)); // without a picture
        QVERIFY(Pictures::difference(found.image, record.image) < 3);

        QCOMPARE(query("SELECT group_concat(fullPath || size || creationTime || date) FROM FileData"),
                 path + "5000000000Sat Nov 21 10:20:30 2026" + QDate::currentDate().toString("yyyyMM"));
        QVERIFY(query("SELECT hex(image) FROM FileData").startsWith("FFD8FF"));
        QCOMPARE(query("SELECT group_concat(name || ' ' || type) FROM pragma_table_info('FileData')"),
                 "id INTEGER,fullPath TEXT,resolution TEXT,size INTEGER,creationTime TEXT,image BLOB,"
                 "date INTEGER");
    }

    void everyPartOfTheKeyCounts()
    {
        QVERIFY(global.addThumbnail(recordOf("/photos/a.jpg"), table, db));
        const auto isHit = [&](const std::function<void(TThumbnailRecord &)> &change) {
            TThumbnailRecord key = keyOf("/photos/a.jpg");
            change(key);
            return global.getThumbnail(key, table, db) && !key.image.isNull() && !key.resolution.isEmpty();
        };
        QVERIFY(!isHit([](auto &key) { key.fullPath = "/photos/A.jpg"; }));
        QVERIFY(!isHit([](auto &key) { key.size += 1; }));
        QVERIFY(!isHit([](auto &key) { key.creationTime = key.creationTime.addSecs(1); }));
        QVERIFY(isHit([](auto &key) { key.creationTime = key.creationTime.addMSecs(500); })); // one second
    }

    void threadsShareTheFileAndItsIndex()
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([thread] {
                for (int i = 0; i < 50; ++i)
                    QVERIFY(ThumbnailDatabase::add(recordOf(QStringLiteral("/%1/%2.jpg").arg(thread).arg(i)),
                                                   "bytes"));
            });
        threads.clear(); // waits for them
        QCOMPARE(query("SELECT count(*) FROM FileData"), "200");
        QCOMPARE(query("PRAGMA journal_mode"), "wal");
        const QString plan = query("EXPLAIN QUERY PLAN SELECT image, resolution FROM FileData "
                                   "WHERE fullPath = 'a' AND size=1 AND creationTime='x'",
                                   3);
        QVERIFY2(plan.contains("USING INDEX"), qPrintable(plan));
        // Each thread has taken its connection with it.
        QVERIFY(QSqlDatabase::connectionNames().size() <= 2);
    }

    void damageCostsTheCacheOnly()
    {
        write("text.db", QByteArray(20000, '\x5a'));
        write("short.db", QByteArray("SQLite format 3\0", 16));
        write("empty.db", "");
        for (const char *const name : {"text.db", "short.db", "empty.db", "folder.db"}) {
            const bool usable = name == QByteArray("empty.db");
            ThumbnailDatabase::setFileName({}); // or a connection would still be open
            QVERIFY(!ThumbnailDatabase::find(keyOf("/a.jpg")));
            ThumbnailDatabase::setFileName(path(name));
            QVERIFY(!ThumbnailDatabase::find(keyOf("/a.jpg")));
            QCOMPARE(ThumbnailDatabase::add(recordOf("/a.jpg"), "bytes"), usable);
            QCOMPARE(ThumbnailDatabase::find(keyOf("/a.jpg")).has_value(), usable);
        }
    }

    void lockedFileIsNotWaitedForAgainAndAgain()
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

#ifndef Q_OS_WIN
    void keyOfAFileWithoutABirthTime()
    {
        const QFileInfo info("/proc/self/status");
        QVERIFY(!info.fileTime(QFile::FileBirthTime).isValid());
        QCOMPARE(ThumbnailDatabase::keyOf(info).creationTime, info.lastModified());
    }
#endif

private:
    QString query(const QString &text, int column = 0) const
    {
        QSqlQuery query(db);
        return query.exec(text) && query.next() ? query.value(column).toString() : query.lastError().text();
    }

    QSqlDatabase db;
    const VistamoGlobal global = {};
};

QTEST_GUILESS_MAIN(ThumbnailDatabaseTest)
#include "ThumbnailDatabaseTest.moc"
