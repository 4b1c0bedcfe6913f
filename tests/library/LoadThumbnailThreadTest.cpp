#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailIcons.h"
#include "library/VistamoLoadThumbnailThread.h"
#include "support/Pictures.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int load = 3;

} // namespace

/// The loader, the maker behind it and the icons made from their answers, over a real database.
class LoadThumbnailThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void secondVisitComesFromTheDatabase();
    void brokenFilesHaveNoPicture();
    void transparencyIsKeptOnTheFirstVisit();
    void brokenRowNeverReplacesAFreshPicture();
    void withoutDatabaseEverythingIsDecoded();
    void lostPictureIsMadeAgain();
    void stopIsNotHeldUpByDecodes();

private:
    QHash<QString, ThumbnailAnswer> loadAll(const QStringList &paths);
    QImage squareOf(const ThumbnailAnswer &answer);
    TFileRecord recordOf(const QString &path) const;
    QString path(const QString &name) const { return folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<ThumbnailMaker> maker;
    std::unique_ptr<ThumbnailIcons> icons;
};

void LoadThumbnailThreadTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    ThumbnailDatabase::setFileName(path("thumbnail.db"));
    VistamoGlobal::thumbnailDatabase = QSqlDatabase::addDatabase("QSQLITE");
    VistamoGlobal::thumbnailDatabase.setDatabaseName(path("thumbnail.db"));
    QVERIFY(ThumbnailDatabase::open(VistamoGlobal::thumbnailDatabase, 0));
    maker = std::make_unique<ThumbnailMaker>();
    icons = std::make_unique<ThumbnailIcons>();
}

void LoadThumbnailThreadTest::cleanup()
{
    icons.reset();
    maker.reset();
    VistamoGlobal::thumbnailDatabase = QSqlDatabase();
    QSqlDatabase::removeDatabase(QSqlDatabase::defaultConnection);
}

QHash<QString, ThumbnailAnswer> LoadThumbnailThreadTest::loadAll(const QStringList &paths)
{
    QHash<QString, ThumbnailAnswer> answers;
    const auto keep = [&](const ThumbnailAnswer &answer) {
        QCOMPARE(answer.load, load);
        QCOMPARE(answer.fullPath, paths.value(answer.row));
        QVERIFY(!answers.contains(answer.fullPath));
        answers.insert(answer.fullPath, answer);
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
    for (int row = 0; row < paths.size(); ++row)
        thread.addRequest(QFileInfo(paths[row]), row);
    thread.setEnumFinished();
    [&] {
        QTRY_COMPARE(finished.size(), 1);
        QTRY_COMPARE(answers.size(), paths.size());
    }();
    return answers;
}

TFileRecord LoadThumbnailThreadTest::recordOf(const QString &file) const
{
    const QFileInfo info(file);
    TFileRecord record;
    record.fullPath = file;
    record.size = info.size();
    record.creationTime = info.fileTime(QFile::FileBirthTime);
    record.modifiedTime = info.lastModified();
    return record;
}

QImage LoadThumbnailThreadTest::squareOf(const ThumbnailAnswer &answer)
{
    return icons->icon(answer, recordOf(answer.fullPath)).pixmap(QSize(256, 256), 1.0).toImage();
}

void LoadThumbnailThreadTest::secondVisitComesFromTheDatabase()
{
    Pictures::save(path("wide.jpg"), QSize(600, 300));
    Pictures::save(path("high.png"), QSize(300, 400), 6);
    const QStringList paths = {path("wide.jpg"), path("high.png")};
    for (int visit = 0; visit < 2; ++visit) {
        const auto answers = loadAll(paths);
        QCOMPARE(answers[paths[0]].size, QSize(256, 128));
        QCOMPARE(answers[paths[1]].size, QSize(192, 256));
        for (const ThumbnailAnswer &answer : answers) {
            QVERIFY(answer.stored);
            QVERIFY(answer.encoded.isEmpty());
            const QImage square = squareOf(answer);
            QCOMPARE(square.size(), QSize(256, 256));
            QCOMPARE(Pictures::quartersOf(square.copy(thumbnailRect(answer.size))), "red green blue yellow");
        }
        const QImage wide = squareOf(answers[paths[0]]);
        QCOMPARE(wide.pixelColor(128, 63), QPalette().color(QPalette::Active, QPalette::Base));
        QCOMPARE(thumbnailRect(QSize(256, 128)), QRect(0, 64, 256, 128));
    }
    QSqlQuery rows(VistamoGlobal::thumbnailDatabase);
    QVERIFY(rows.exec(
        "SELECT group_concat(resolution, ' ') FROM (SELECT resolution FROM FileData ORDER BY resolution)"));
    QVERIFY(rows.next());
    QCOMPARE(rows.value(0).toString(), "300x400 600x300");
}

void LoadThumbnailThreadTest::brokenFilesHaveNoPicture()
{
    QFile broken(path("broken.jpg"));
    QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write("broken") > 0);
    broken.close();
    const QStringList paths = {path("broken.jpg"), path("gone.jpg")};
    const auto answers = loadAll(paths);
    for (const ThumbnailAnswer &answer : answers) {
        QVERIFY(answer.size.isEmpty());
        QCOMPARE(thumbnailRect(answer.size), QRect(QPoint(128, 128), QSize(0, 0)));
        const QImage square = squareOf(answer);
        QCOMPARE(square.pixelColor(128, 128), QPalette().color(QPalette::Active, QPalette::Base));
    }
    QSqlQuery rows(VistamoGlobal::thumbnailDatabase);
    QVERIFY(rows.exec("SELECT count(*) FROM FileData") && rows.next());
    QCOMPARE(rows.value(0).toInt(), 0);
}

void LoadThumbnailThreadTest::transparencyIsKeptOnTheFirstVisit()
{
    QImage image(256, 256, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter(&image).fillRect(0, 0, 128, 256, Qt::red);
    QVERIFY(image.save(path("half.png")));

    const QColor base = QPalette().color(QPalette::Active, QPalette::Base);
    const QImage first = squareOf(loadAll({path("half.png")}).value(path("half.png")));
    QCOMPARE(first.pixelColor(20, 20), QColor(Qt::red));
    QCOMPARE(first.pixelColor(200, 20), base);
    const ThumbnailAnswer second = loadAll({path("half.png")}).value(path("half.png"));
    QVERIFY(second.stored);
    QVERIFY(squareOf(second).pixelColor(200, 20) != base);
}

void LoadThumbnailThreadTest::brokenRowNeverReplacesAFreshPicture()
{
    Pictures::save(path("a.jpg"));
    TThumbnailRecord record;
    record.fullPath = path("a.jpg");
    record.size = QFileInfo(path("a.jpg")).size();
    record.creationTime = ThumbnailDatabase::keyTime(QFileInfo(path("a.jpg")));
    record.resolution = "60x40";
    QVERIFY(ThumbnailDatabase::add(record, "no picture"));
    const ThumbnailAnswer answer = loadAll({path("a.jpg")}).value(path("a.jpg"));
    QVERIFY(!answer.stored);
    QCOMPARE(Pictures::quartersOf(squareOf(answer).copy(thumbnailRect(answer.size))),
             "red green blue yellow");
}

void LoadThumbnailThreadTest::withoutDatabaseEverythingIsDecoded()
{
    QVERIFY(QDir().mkdir(path("folder.db")));
    ThumbnailDatabase::setFileName(path("folder.db"));
    Pictures::saveMany(folder->path(), 8);
    QStringList paths;
    for (int i = 0; i < 8; ++i)
        paths.append(path(QStringLiteral("000%1.jpg").arg(i)));
    const auto answers = loadAll(paths);
    for (const ThumbnailAnswer &answer : answers)
        QCOMPARE(Pictures::quartersOf(squareOf(answer).copy(thumbnailRect(answer.size))),
                 "red green blue yellow");
}

void LoadThumbnailThreadTest::lostPictureIsMadeAgain()
{
    Pictures::save(path("a.jpg"));
    ThumbnailAnswer answer = loadAll({path("a.jpg")}).value(path("a.jpg"));
    QSqlQuery removal(VistamoGlobal::thumbnailDatabase);
    QVERIFY(removal.exec("DELETE FROM FileData"));

    QSignalSpy lost(icons.get(), &ThumbnailIcons::lost);
    const QIcon icon = icons->icon(answer, recordOf(path("a.jpg")));
    const QImage blank = icon.pixmap(QSize(256, 256), 1.0).toImage();
    QCOMPARE(blank.pixelColor(128, 128), QPalette().color(QPalette::Active, QPalette::Base));
    icon.pixmap(QSize(128, 128), 1.0);
    QTRY_COMPARE(lost.size(), 1);
    QCOMPARE(lost[0], QVariantList({path("a.jpg"), 0, true}));

    QSignalSpy made(maker.get(), &ThumbnailMaker::made);
    maker->makeAgain(load, {QFileInfo(path("a.jpg")), 0}, true);
    QTRY_COMPARE(made.size(), 1);
    answer = made[0][0].value<ThumbnailAnswer>();
    QCOMPARE(Pictures::quartersOf(squareOf(answer).copy(thumbnailRect(answer.size))),
             "red green blue yellow");
}

void LoadThumbnailThreadTest::stopIsNotHeldUpByDecodes()
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

QTEST_MAIN(LoadThumbnailThreadTest)
#include "LoadThumbnailThreadTest.moc"
