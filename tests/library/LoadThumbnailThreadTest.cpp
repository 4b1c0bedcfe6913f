#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailIcons.h"
#include "library/VistamoLoadThumbnailThread.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtGui>
#include <QtSql>
#include <QtTest>

namespace {

constexpr LoadNumber load = {3};

QColor base()
{
    return QPalette().color(QPalette::Active, QPalette::Base);
}

} // namespace

/// The loader, the maker behind it and the icons made from their answers, over a real database.
class LoadThumbnailThreadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"folder.db"});
        ThumbnailDatabase::setFileName(path("thumbnail.db"));
        VistamoGlobal::thumbnailDatabase = QSqlDatabase::addDatabase("QSQLITE");
        VistamoGlobal::thumbnailDatabase.setDatabaseName(path("thumbnail.db"));
        QVERIFY(ThumbnailDatabase::open(VistamoGlobal::thumbnailDatabase, 0));
        maker = std::make_unique<ThumbnailMaker>();
        icons = std::make_unique<ThumbnailIcons>();
    }

    void cleanup()
    {
        icons.reset();
        maker.reset();
        VistamoGlobal::thumbnailDatabase = QSqlDatabase();
        QSqlDatabase::removeDatabase(QSqlDatabase::defaultConnection);
    }

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
            QCOMPARE(squareOf(answers[0]).size(), QSize(256, 256));
            QCOMPARE(squareOf(answers[0]).pixelColor(128, 63), base());
            QVERIFY(squareOf(answers[0]).pixelColor(0, 64) != base());
            for (const ThumbnailAnswer &answer : answers.last(2))
                QCOMPARE(squareOf(answer).pixelColor(128, 128), base());
        }
        QCOMPARE(
            query("SELECT group_concat(resolution, ' ') FROM (SELECT resolution FROM FileData ORDER BY 1)"),
            "300x400 600x300");
    }

    void transparencyIsKeptOnTheFirstVisit()
    {
        QImage image(256, 256, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter(&image).fillRect(0, 0, 128, 256, Qt::red);
        QVERIFY(image.save(path("half.png")));
        const QImage first = squareOf(loadAll({"half.png"})[0]);
        QCOMPARE(first.pixelColor(20, 20), QColor(Qt::red));
        QCOMPARE(first.pixelColor(200, 20), base());
        const ThumbnailAnswer second = loadAll({"half.png"})[0];
        QVERIFY(second.stored);
        QVERIFY(squareOf(second).pixelColor(200, 20) != base());
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
        QCOMPARE(query("SELECT count(*) FROM FileData"), "2");
    }

    void withoutDatabaseEverythingIsDecoded()
    {
        ThumbnailDatabase::setFileName(path("folder.db"));
        Pictures::saveMany(folder->path(), 8);
        for (const ThumbnailAnswer &answer : loadAll(disk(".").filter(".jpg")))
            QCOMPARE(quartersOf(answer), "red green blue yellow");
    }

    void lostPictureIsMadeAgain()
    {
        Pictures::save(path("a.jpg"));
        const ThumbnailAnswer answer = loadAll({"a.jpg"})[0];
        QSqlQuery(VistamoGlobal::thumbnailDatabase).exec("DELETE FROM FileData");

        QSignalSpy lost(icons.get(), &ThumbnailIcons::lostPictures);
        const QIcon icon = icons->icon(answer, {});
        QCOMPARE(icon.pixmap(QSize(256, 256), 1.0).toImage().pixelColor(128, 128), base());
        icon.pixmap(QSize(128, 128), 1.0);
        QTRY_VERIFY(!lost.isEmpty());
        const auto source = icons->takeLost();
        QVERIFY(source && source->stored && source->key.fullPath == path("a.jpg"));
        QVERIFY(!icons->takeLost());

        QSignalSpy made(maker.get(), &ThumbnailMaker::made);
        maker->makeAgain(load, {QFileInfo(source->key.fullPath), 0},
                         ThumbnailMaker::Storing::AddBehindBroken);
        QTRY_COMPARE(made.size(), 1);
        const auto again = made[0][0].value<ThumbnailAnswer>();
        QVERIFY(again.again);
        QCOMPARE(quartersOf(again), "red green blue yellow");
    }

    void cachesStayWithinTheirBounds()
    {
        // What falls out of memory first is lost, and the rest is kept as a square.
        constexpr int megabyte = 1 << 20;
        ThumbnailAnswer answer;
        answer.size = QSize(256, 171);
        answer.encoded = Pictures::encoded(Pictures::quarters(answer.size), "jpg").leftJustified(megabyte, 0);
        const auto count = [](const QList<QIcon> &icons) {
            return std::count_if(icons.cbegin(), icons.cend(), [](const QIcon &icon) {
                return icon.pixmap(QSize(256, 256), 1.0).toImage().pixelColor(128, 128) != base();
            });
        };
        QList<QIcon> inMemory;
        for (answer.row = 0; answer.row < 100; ++answer.row)
            inMemory.append(icons->icon(answer, {}));
        QCOMPARE(count(inMemory), 64);
        for (int row = 35; row >= 0; --row)
            QCOMPARE(icons->takeLost()->row, row);
        QVERIFY(!icons->takeLost());

        Pictures::save(path("a.jpg"));
        answer = loadAll({"a.jpg"})[0];
        QList<QIcon> inDatabase;
        for (int i = 0; i < 300; ++i)
            inDatabase.append(icons->icon(answer, {}));
        QCOMPARE(count(inDatabase), 300);
        QSqlQuery(VistamoGlobal::thumbnailDatabase).exec("DELETE FROM FileData");
        QCOMPARE(count(inDatabase), 48 * megabyte / (256 * 256 * 4));
    }

    void stopIsNotHeldUpByDecodes()
    {
        Pictures::saveMany(folder->path(), 40, QSize(3000, 2000));
        VistamoLoadThumbnailThread thread(load, maker.get());
        QSignalSpy made(maker.get(), &ThumbnailMaker::made);
        thread.start();
        for (int i = 0; i < 40; ++i)
            thread.addRequest(QFileInfo(path(QStringLiteral("%1.jpg").arg(i, 4, 10, QLatin1Char('0')))), i);
        QTRY_VERIFY(made.size() > 0);
        thread.stop();
        QVERIFY(thread.wait(2000));
        QVERIFY(made.size() < 40);
        QVERIFY(maker->finish(5000));
    }

private:
    /// The answers about the files, in their order.
    QList<ThumbnailAnswer> loadAll(const QStringList &names)
    {
        QList<ThumbnailAnswer> answers(names.size());
        int count = 0;
        const auto keep = [&](const ThumbnailAnswer &answer) {
            QCOMPARE(answer.load, load);
            QCOMPARE(answer.fileName, names.value(answer.row));
            answers[answer.row] = answer;
            ++count;
        };
        QObject context;
        VistamoLoadThumbnailThread thread(load, maker.get());
        connect(&thread, &VistamoLoadThumbnailThread::thumbnailsFound, &context, [&](const auto &found) {
            for (const ThumbnailAnswer &answer : found)
                keep(answer);
        });
        connect(maker.get(), &ThumbnailMaker::made, &context, keep);
        QSignalSpy finished(&thread, &QThread::finished);
        thread.start();
        for (int row = 0; row < names.size(); ++row)
            thread.addRequest(QFileInfo(path(names[row])), row);
        thread.setEnumFinished();
        [&] { QTRY_VERIFY(finished.size() == 1 && count == names.size()); }();
        return answers;
    }

    QImage squareOf(const ThumbnailAnswer &answer)
    {
        return icons->icon(answer, {}).pixmap(QSize(256, 256), 1.0).toImage();
    }
    QString quartersOf(const ThumbnailAnswer &answer)
    {
        return Pictures::quartersOf(squareOf(answer).copy(thumbnailRect(answer.size)));
    }
    QString query(const QString &text) const
    {
        QSqlQuery query(VistamoGlobal::thumbnailDatabase);
        return query.exec(text) && query.next() ? query.value(0).toString() : QString();
    }

    std::unique_ptr<ThumbnailMaker> maker;
    std::unique_ptr<ThumbnailIcons> icons;
};

QTEST_MAIN(LoadThumbnailThreadTest)
#include "LoadThumbnailThreadTest.moc"
