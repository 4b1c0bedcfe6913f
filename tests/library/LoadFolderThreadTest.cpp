#include "library/VistamoLoadFolderThread.h"

#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

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
    constexpr int load = 5;
    Walk walk;
    VistamoLoadFolderThread thread(load, folder, selectedFileName);
    QObject::connect(&thread, &VistamoLoadFolderThread::filesFound, &thread, [&](const FoundFiles &files) {
        QCOMPARE(files.load, load);
        QCOMPARE(files.path, folder);
        QCOMPARE(files.firstRow, walk.names.size());
        QCOMPARE(files.infos.size(), files.records.size());
        QVERIFY(!walk.complete);
        walk.complete = files.complete;
        walk.batches.append(files.records.size());
        for (const TFileRecord &record : files.records) {
            QCOMPARE(record.fullPath, folder + '/' + record.fileName);
            QVERIFY(record.imageRect.isNull());
            walk.names.append(record.fileName);
        }
    });
    QObject::connect(&thread, &VistamoLoadFolderThread::currentColumnChanged, &thread, [&](int column) {
        QVERIFY(column < walk.names.size());
        walk.selected.append(column);
    });
    QObject::connect(&thread, &VistamoLoadFolderThread::enumFilesFinish, &thread,
                     [&](int count) { walk.count = count; });
    QSignalSpy finished(&thread, &QThread::finished);
    thread.start();
    [&] { QTRY_COMPARE(finished.size(), 1); }();
    return walk;
}

void touch(const QByteArray &path)
{
    FILE *const file = fopen(path.constData(), "w");
    QVERIFY(file);
    fclose(file);
}

} // namespace

class LoadFolderThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        VistamoGlobal::buildImageFileExtensionList();
        folder = std::make_unique<QTemporaryDir>();
    }

    void findsImagesInTheOrderOfTheDisk()
    {
        for (const char *const name : {"b.jpg", "a.PNG", "c.txt", ".hidden.jpg", "noSuffix", "x.psd"})
            touch(name);
        QVERIFY(QDir(folder->path()).mkdir("folder.jpg"));
        touch("folder.jpg/inside.jpg");
        QVERIFY(QFile::link(folder->filePath("b.jpg"), folder->filePath("link.jpg")));
        QVERIFY(QFile::link(folder->filePath("gone.jpg"), folder->filePath("broken link.jpg")));

        QStringList onDisk = QDir(folder->path()).entryList(QDir::Files, QDir::Unsorted);
        onDisk.removeIf([](const QString &name) { return !VistamoGlobal().isImageFile(name); });
        const Walk found = walk(folder->path(), "A.png");
        QCOMPARE(found.names, onDisk);
        QCOMPARE(QSet<QString>(onDisk.cbegin(), onDisk.cend()),
                 QSet<QString>({"b.jpg", "a.PNG", "x.psd", "link.jpg"}));
        QCOMPARE(found.count, 4);
        QVERIFY(found.complete);
        QCOMPARE(found.selected, QList<int>{static_cast<int>(onDisk.indexOf("a.PNG"))});
    }

    void oddNamesAreListed()
    {
        QStringList names = {
            "quote's \".jpg", "line\nfeed.jpg",           "100%1 %s.jpg",
            "#?;&.jpg",       QString(251, 'n') + ".jpg", QString::fromUtf8("\u05e9\u05dc\u05d5\u05dd.jpg")};
        for (const QString &name : names)
            touch(name);
        // A name that is no UTF-8 cannot be told in a QString, and is left out.
        const QByteArray latin1 = QFile::encodeName(folder->path()) + "/\xe9t\xe9.jpg";
        ::touch(latin1);
        Walk found = walk(folder->path());
        found.names.sort();
        names.sort();
        QCOMPARE(found.names, names);
        unlink(latin1.constData());
    }

    void folderThatCannotBeReadIsEmpty()
    {
        touch("a.jpg");
        QCOMPARE(walk(folder->filePath("missing")).count, 0);
        QCOMPARE(walk(folder->filePath("a.jpg")).count, 0);

        // A folder without permission stops root only in another's name.
        const QByteArray path = QFile::encodeName(folder->path());
        QCOMPARE(chmod(path.constData(), 0), 0);
        const bool isRoot = geteuid() == 0;
        QVERIFY(!isRoot || seteuid(65534) == 0);
        const Walk found = walk(folder->path());
        QVERIFY(!isRoot || seteuid(0) == 0);
        QCOMPARE(chmod(path.constData(), 0700), 0);
        QCOMPARE(found.count, 0);
        QVERIFY(found.complete);
    }

    void batchesGrow()
    {
        for (int i = 0; i < 1000; ++i)
            touch(QStringLiteral("%1.jpg").arg(i));
        const Walk found = walk(folder->path());
        QCOMPARE(found.names.size(), 1000);
        QCOMPARE(found.batches.first(), 64);
        QVERIFY(found.batches.size() < 12);
    }

private:
    void touch(const QString &name) { ::touch(QFile::encodeName(folder->filePath(name))); }

    std::unique_ptr<QTemporaryDir> folder;
};

QTEST_GUILESS_MAIN(LoadFolderThreadTest)
#include "LoadFolderThreadTest.moc"
