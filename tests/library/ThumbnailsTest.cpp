#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailIcons.h"
#include "library/VistamoLoadThumbnailThread.h"
#include "shared/threads/WorkQueue.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtSql>

#include <thread>

namespace {

constexpr Generation generation = {3};

/// Work that takes its time to move: only a queue without a lock moves two at once.
struct Work
{
    explicit Work(int number) { this->number = number; }
    Work(const Work &other)
    {
        number = other.number;
        overlapped = overlapped || moving.exchange(true);
        std::this_thread::yield();
        moving = false;
    }
    int number = 0;
    static inline std::atomic_bool moving = false, overlapped = false;
};

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

/// The database of thumbnails; the loader, the maker behind it and the icons made from their answers.
class ThumbnailsTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"folder.db"});
        ThumbnailDatabase::setFileName(path("thumbnail.db"));
        db = QSqlDatabase::addDatabase("QSQLITE");
        db.setDatabaseName(path("thumbnail.db"));
        QVERIFY(ThumbnailDatabase::open(db, 1000) && global.createThumbnailTable(table, db));
        maker = std::make_unique<ThumbnailMaker>();
        icons = std::make_unique<ThumbnailIcons>();
    }

    void cleanup()
    {
        icons.reset();
        maker.reset();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(QSqlDatabase::defaultConnection);
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

    void secondVisitComesFromTheDatabase()
    {
        Pictures::save(path("wide.jpg"), QSize(600, 300));
        Pictures::save(path("high.png"), QSize(300, 400), 6);
        write("broken.jpg", "broken");
        for (int visit = 0; visit < 2; ++visit) {
            const auto answers = loadAll({"wide.jpg", "high.png", "broken.jpg", "gone.jpg"});
            QCOMPARE(answers[0].size, QSize(256, 128));
            QCOMPARE(answers[1].size, QSize(192, 256));
            for (const ThumbnailAnswer &answer : answers.first(2)) {
                QVERIFY(answer.stored && answer.encoded.isEmpty());
                QCOMPARE(quartersOf(answer), "red green blue yellow");
            }
            for (const ThumbnailAnswer &answer : answers.last(2))
                QCOMPARE(squareOf(answer).pixelColor(128, 128), base());
        }
        QCOMPARE(query("SELECT count(*) || ' ' || min(resolution) || ' ' || max(resolution) FROM FileData"),
                 "2 300x400 600x300");
        ThumbnailDatabase::setFileName(path("folder.db")); // none: everything is decoded
        for (const ThumbnailAnswer &answer : loadAll({"wide.jpg", "high.png"}))
            QCOMPARE(quartersOf(answer), "red green blue yellow");
    }

    void brokenRowNeverReplacesAFreshPicture()
    {
        Pictures::save(path("a.jpg"));
        TThumbnailRecord record = ThumbnailDatabase::keyOf(QFileInfo(path("a.jpg")));
        record.resolution = "60x40";
        QVERIFY(ThumbnailDatabase::add(record, "no picture"));
        const ThumbnailAnswer answer = loadAll({"a.jpg"})[0];
        QVERIFY(!answer.stored);
        QCOMPARE(quartersOf(answer), "red green blue yellow");
        for (const ThumbnailStoring storing : {ThumbnailStoring::Add, ThumbnailStoring::Leave})
            QCOMPARE(findOrMakeThumbnail(record, 48, storing).image.size(), QSize(48, 32));
        QCOMPARE(query("SELECT count(*) FROM FileData"), "3");
    }

    void storedPicturesAreReadWhereTheyArePainted()
    {
        Pictures::save(path("a.jpg"), QSize(60, 40));
        const ThumbnailAnswer whole = loadAll({"a.jpg"})[0];
        QSqlQuery(db).exec("UPDATE FileData SET resolution='512x128'");
        QCOMPARE(loadAll({"a.jpg"})[0].size, QSize(256, 64));
        // More than there is time for: the others follow by themselves.
        QList<QIcon> made;
        for (int i = 0; i < 150; ++i)
            made.append(icons->icon(whole, {}));
        const auto painted = [&] {
            QImage canvas(256, 256, QImage::Format_RGB32);
            return std::count_if(made.cbegin(), made.cend(), [&](const QIcon &icon) {
                QPainter painter(&canvas);
                icon.paint(&painter, canvas.rect());
                return canvas.pixelColor(128, 128) != base();
            });
        };
        qsizetype last = painted();
        QVERIFY(last < made.size());
        connect(icons.get(), &ThumbnailIcons::repaintNeeded, this, [&] { last = painted(); });
        QTRY_COMPARE(last, made.size());
        // Nor are all decoded at once where the background finds no database.
        icons->disconnect(this);
        icons->clearSquares();
        ThumbnailDatabase::setFileName(path("folder.db"));
        QVERIFY(painted() < made.size());
        QTRY_VERIFY(!icons->isMaking());
        QVERIFY(painted() < made.size());
        QTRY_COMPARE(painted(), made.size());
        ThumbnailDatabase::setFileName(path("thumbnail.db"));
        // In the palette's other colours; without a picture they are reported.
        icons->clearSquares();
        QVERIFY(painted() < made.size());
        icons->clearSquares();
        QSqlQuery(db).exec("UPDATE FileData SET image=zeroblob(1000)");
        QTRY_VERIFY(painted() == 0 && !icons->isMaking());
        QVERIFY(icons->takeLost());
        QVERIFY(loadAll({"a.jpg"})[0].stored);
    }

    void cachesStayWithinTheirBounds()
    {
        // Of a megabyte each; those that fell out of memory are reported, the latest first.
        ThumbnailAnswer answer;
        answer.size = QSize(256, 171);
        answer.encoded = Pictures::encoded(Pictures::quarters(answer.size), "jpg").leftJustified(1 << 20, 0);
        QList<QIcon> made;
        for (; answer.row < 100; ++answer.row)
            made.append(icons->icon(answer, {}));
        QCOMPARE(std::count_if(made.cbegin(), made.cend(),
                               [](const QIcon &icon) {
                                   const QImage square = icon.pixmap(QSize(256, 256), 1.0).toImage();
                                   return square.pixelColor(128, 128) != base();
                               }),
                 64);
        for (int row = 35; row >= 0; --row)
            QCOMPARE(icons->takeLost().value_or(ThumbnailIcons::Source()).row, row);
        QVERIFY(!icons->takeLost());
    }

    void whatComesDoesNotWaitForASlowDecode()
    {
        Pictures::save(path("a.jpg"));
        loadAll({"a.jpg"}); // now the database has it
        write("slow.jpg", "broken");
        QSemaphore begun, end;
        std::atomic_int found = 0;
        VistamoLoadThumbnailThread thread(generation, maker.get());
        const auto hold = [&] {
            begun.release();
            end.acquire();
        };
        connect(maker.get(), &ThumbnailMaker::made, &thread, hold, Qt::DirectConnection); // before its end
        const auto count = [&](const QList<ThumbnailAnswer> &answers) { found += int(answers.size()); };
        connect(&thread, &VistamoLoadThumbnailThread::thumbnailsFound, &thread, count, Qt::DirectConnection);
        thread.start();
        thread.addRequest(QFileInfo(path("slow.jpg")), 0);
        thread.setEnumFinished();
        const bool isSlow = begun.tryAcquire(1, patience);
        thread.addRequest(QFileInfo(path("a.jpg")), 1);
        const bool hasCome = QTest::qWaitFor([&] { return found == 1; });
        end.release();
        QVERIFY(thread.wait(patience) && isSlow && hasCome);
    }

    void queuesBetweenTwoThreadsKeepAllInOrder()
    {
        Pictures::save(path("a.jpg"));
        loadAll({"a.jpg"}); // now the database has it
        constexpr int all = 100;
        std::atomic_int added = 0;
        std::atomic_int taken = 0;
        bool inOrder = true;
        VistamoLoadThumbnailThread thread(generation, maker.get());
        const auto take = [&](const QList<ThumbnailAnswer> &found) {
            for (const ThumbnailAnswer &answer : found)
                inOrder &= answer.row == taken++;
            // The next one is to meet the thread as it falls asleep.
            for (const QDeadlineTimer moment(5); added <= taken && !moment.hasExpired();)
                std::this_thread::yield();
        };
        connect(&thread, &VistamoLoadThumbnailThread::thumbnailsFound, &thread, take, Qt::DirectConnection);
        thread.start();
        const QDeadlineTimer hangs(patience);
        while (added < all) {
            thread.addRequest(QFileInfo(path("a.jpg")), added);
            ++added;
            while (taken < added && !hangs.hasExpired())
                std::this_thread::yield();
        }
        thread.setEnumFinished();
        QVERIFY(thread.wait(patience) && !hangs.hasExpired() && inOrder && taken == all);

        WorkQueue<Work> queue;
        std::jthread other([&] {
            for (int number = 0; number < all; ++number)
                queue.push(Work(number));
        });
        for (taken = 0; taken < all && !hangs.hasExpired();) {
            if (const auto work = queue.tryTake())
                inOrder &= work->number == taken++;
            for (const Work &work : queue.takeAll())
                inOrder &= work.number == taken++;
        }
        QVERIFY(inOrder && taken == all && !Work::overlapped);
    }

private:
    /// The answers about the files, in their order.
    QList<ThumbnailAnswer> loadAll(const QStringList &names)
    {
        QList<ThumbnailAnswer> answers(names.size());
        int count = 0;
        const auto keep = [&](const ThumbnailAnswer &answer) {
            QCOMPARE(answer.generation, generation);
            QCOMPARE(answer.fileName, names.value(answer.row));
            answers[answer.row] = answer;
            ++count;
        };
        QObject context;
        VistamoLoadThumbnailThread thread(generation, maker.get());
        connect(&thread, &VistamoLoadThumbnailThread::thumbnailsFound, &context,
                [&](const auto &found) { std::for_each(found.begin(), found.end(), keep); });
        connect(maker.get(), &ThumbnailMaker::made, &context, keep);
        QSignalSpy finished(&thread, &QThread::finished);
        thread.start();
        for (int row = 0; row < names.size(); ++row)
            thread.addRequest(QFileInfo(path(names[row])), row);
        thread.setEnumFinished();
        [&] { QTRY_VERIFY(finished.size() == 1 && count == names.size()); }();
        return answers;
    }

    static QColor base()
    {
        return QPalette().color(QPalette::Active, QPalette::Base);
    }
    QImage squareOf(const ThumbnailAnswer &answer)
    {
        return icons->icon(answer, {}).pixmap(QSize(256, 256), 1.0).toImage();
    }
    QString quartersOf(const ThumbnailAnswer &answer)
    {
        return Pictures::quartersOf(squareOf(answer).copy(thumbnailRect(answer.size)));
    }
    QString query(const QString &text, int column = 0) const
    {
        QSqlQuery query(db);
        return query.exec(text) && query.next() ? query.value(column).toString() : query.lastError().text();
    }

    const VistamoGlobal global = {};
    QSqlDatabase &db = VistamoGlobal::thumbnailDatabase;
    std::unique_ptr<ThumbnailMaker> maker;
    std::unique_ptr<ThumbnailIcons> icons;
};

QTEST_MAIN(ThumbnailsTest)
#include "ThumbnailsTest.moc"
