#include "library/VistamoLoadFolderThread.h"
#include "support/Pictures.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int load = 5;

/// What a walk reports, put together again.
struct Walk
{
    QStringList names;
    QList<qsizetype> batches;
    int count = -1;
    QList<int> selected;
    bool complete = false;
};

Walk walk(const QString &folder, const QString &selectedFileName = QString())
{
    Walk walk;
    VistamoLoadFolderThread thread(load, folder, selectedFileName);
    QObject::connect(&thread, &VistamoLoadFolderThread::filesFound, &thread, [&](const FoundFiles &files) {
        QCOMPARE(files.load, load);
        QCOMPARE(files.firstRow, walk.names.size());
        QCOMPARE(files.infos.size(), files.records.size());
        QVERIFY(!walk.complete);
        walk.complete = files.complete;
        walk.batches.append(files.records.size());
        for (qsizetype i = 0; i < files.records.size(); ++i) {
            const TFileRecord &record = files.records[i];
            QCOMPARE(record.fullPath, folder + '/' + record.fileName);
            QCOMPARE(files.infos[i].filePath(), record.fullPath);
            QVERIFY(record.imageRect.isNull());
            walk.names.append(record.fileName);
        }
    });
    QObject::connect(&thread, &VistamoLoadFolderThread::currentColumnChanged, &thread, [&](int column) {
        QVERIFY(column < walk.names.size());
        walk.selected.append(column);
    });
    QSignalSpy finished(&thread, &QThread::finished);
    QObject::connect(&thread, &VistamoLoadFolderThread::enumFilesFinish, &thread,
                     [&](int count) { walk.count = count; });
    thread.start();
    [&] { QTRY_COMPARE(finished.size(), 1); }();
    return walk;
}

void touch(const QByteArray &path)
{
    QFile file(QFile::decodeName(path));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

} // namespace

class LoadFolderThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void findsImagesInTheOrderOfTheDisk();
    void oddNamesAreListed();
    void folderThatCannotBeReadIsEmpty();
    void batchesGrow();
    void stopEndsTheWalk();
};

void LoadFolderThreadTest::initTestCase()
{
    VistamoGlobal::buildImageFileExtensionList();
}

void LoadFolderThreadTest::findsImagesInTheOrderOfTheDisk()
{
    QTemporaryDir folder;
    for (const char *const name : {"b.jpg", "a.PNG", "c.txt", ".hidden.jpg", "noSuffix", "x.psd"})
        touch(QFile::encodeName(folder.filePath(name)));
    QVERIFY(QDir(folder.path()).mkdir("folder.jpg"));
    touch(QFile::encodeName(folder.filePath("folder.jpg/inside.jpg")));
    QVERIFY(QFile::link(folder.filePath("b.jpg"), folder.filePath("link.jpg")));
    QVERIFY(QFile::link(folder.filePath("gone.jpg"), folder.filePath("broken link.jpg")));

    QStringList onDisk = QDir(folder.path()).entryList(QDir::Files, QDir::Unsorted);
    onDisk.removeIf([](const QString &name) { return !VistamoGlobal().isImageFile(name); });
    const Walk found = walk(folder.path(), "A.png");
    QCOMPARE(found.names, onDisk);
    QCOMPARE(QSet<QString>(found.names.cbegin(), found.names.cend()),
             QSet<QString>({"b.jpg", "a.PNG", "x.psd", "link.jpg"}));
    QCOMPARE(found.count, 4);
    QVERIFY(found.complete);
    QCOMPARE(found.selected, QList<int>{static_cast<int>(onDisk.indexOf("a.PNG"))});
}

void LoadFolderThreadTest::oddNamesAreListed()
{
    QTemporaryDir folder;
    QStringList names = {"quote's \".jpg", "line\nfeed.jpg",
                         "100%1 %s.jpg",   QString::fromUtf8("\u05e9\u05dc\u05d5\u05dd.jpg"),
                         "#?;&.jpg",       QString(251, 'n') + ".jpg"};
    for (const QString &name : names)
        touch(QFile::encodeName(folder.filePath(name)));
    // A name that is no UTF-8 cannot be told in a QString, and is left out.
    const QByteArray latin1 = QFile::encodeName(folder.path()) + "/\xe9t\xe9.jpg";
    FILE *const file = fopen(latin1.constData(), "w");
    QVERIFY(file);
    fclose(file);

    Walk found = walk(folder.path());
    found.names.sort();
    names.sort();
    QCOMPARE(found.names, names);
    unlink(latin1.constData());
}

void LoadFolderThreadTest::folderThatCannotBeReadIsEmpty()
{
    QTemporaryDir folder;
    Pictures::saveMany(folder.path(), 2);
    QCOMPARE(walk(folder.filePath("missing")).count, 0);
    QCOMPARE(walk(folder.filePath("0000.jpg")).count, 0);

    // A folder without permission stops root only in another's name.
    QCOMPARE(chmod(QFile::encodeName(folder.path()).constData(), 0), 0);
    const bool isRoot = geteuid() == 0;
    if (isRoot)
        QCOMPARE(seteuid(65534), 0);
    const Walk found = walk(folder.path());
    if (isRoot)
        QCOMPARE(seteuid(0), 0);
    QCOMPARE(chmod(QFile::encodeName(folder.path()).constData(), 0700), 0);
    QCOMPARE(found.count, 0);
    QVERIFY(found.complete);
}

void LoadFolderThreadTest::batchesGrow()
{
    QTemporaryDir folder;
    for (int i = 0; i < 1000; ++i)
        touch(QFile::encodeName(folder.filePath(QStringLiteral("%1.jpg").arg(i))));
    const Walk found = walk(folder.path());
    QCOMPARE(found.names.size(), 1000);
    QCOMPARE(found.batches.first(), 64);
    QVERIFY(found.batches.size() < 12);
    QCOMPARE(batchSize(10000), 5000);
}

void LoadFolderThreadTest::stopEndsTheWalk()
{
    QTemporaryDir folder;
    Pictures::saveMany(folder.path(), 3);
    VistamoLoadFolderThread thread(load, folder.path(), QString());
    QSignalSpy batches(&thread, &VistamoLoadFolderThread::filesFound);
    thread.stop();
    thread.start();
    QVERIFY(thread.wait(5000));
    QCOMPARE(batches.size(), 0);
}

QTEST_GUILESS_MAIN(LoadFolderThreadTest)
#include "LoadFolderThreadTest.moc"
