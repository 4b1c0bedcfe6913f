#include "library/VistamoLoadFolderThread.h"
#include "support/Failures.h"
#include "support/Files.h"

#include <QtTest>

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>

namespace {

/// The entries that folders give before they fail, as on a drive that goes away; below 0: they don't.
int entriesUntilFailure = -1;

/// What a walk reports, put together again.
struct Walk
{
    QStringList names;
    QList<qsizetype> batches;
    int count = -1;
    QList<int> selected;
    bool complete = false;
    bool cutOff = false;
};

Walk walk(const QString &folder, const QString &selectedFileName = QString())
{
    constexpr Generation generation = {5};
    Walk walk;
    VistamoLoadFolderThread thread(generation, folder, selectedFileName);
    QObject::connect(&thread, &VistamoLoadFolderThread::filesFound, &thread, [&](const FoundFiles &files) {
        QCOMPARE(files.generation, generation);
        QCOMPARE(files.path, folder);
        QCOMPARE(files.firstRow, walk.names.size());
        QVERIFY(!walk.complete);
        walk.complete = files.complete;
        walk.cutOff = files.cutOff;
        walk.batches.append(files.records.size());
        for (const TFileRecord &record : files.records) {
            QCOMPARE(record.fullPath, folder + '/' + record.fileName);
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
    [&] { QTRY_VERIFY(finished.size() == 1 && walk.count >= 0); }(); // the last of what it sends
    return walk;
}

} // namespace

extern "C" dirent *readdir(DIR *folder)
{
    if (entriesUntilFailure == 0) {
        errno = EIO;
        return nullptr;
    }
    --entriesUntilFailure;
    return reinterpret_cast<decltype(&readdir)>(dlsym(RTLD_NEXT, "readdir"))(folder);
}

class LoadFolderThreadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        VistamoGlobal::buildImageFileExtensionList();
        newFolder();
    }

    void findsImagesInTheOrderOfTheirNames()
    {
        const QString longest = QString(251, 'n') + ".jpg";
        const QString foreign = QString::fromUtf8("\u05e9\u05dc\u05d5\u05dd.jpg");
        const QStringList images = {"#?;&.jpg",       "09.jpg",   "9.jpg", "100%1 %s.jpg",
                                    "a.b.c.webp",     "a.PNG",    "b.jpg", "layers.pspimage",
                                    "line\nfeed.jpg", "link.jpg", longest, "quote's \".jpg",
                                    "X.JFI",          "x.jfi",    "x.psd", foreign};
        for (const QString &name :
             images + QStringList{"c.txt", ".hidden.jpg", "jpg", "archive.png.zip", "picture."})
            write(name == "link.jpg" ? "target" : name, "x");
        QVERIFY(QDir(folder->path()).mkdir("folder.jpg"));
        for (const char *const name : {"folder.jpg/inside.jpg", "folder.jpg/readme"})
            write(name, "x");
        QVERIFY(QFile::link(path("target"), path("link.jpg")));
        QVERIFY(QFile::link(path("gone.jpg"), path("broken link.jpg")));
        // A name that is no UTF-8 cannot be told in a QString, and is left out.
        const QByteArray latin1 = QFile::encodeName(folder->path()) + "/\xe9t\xe9.jpg";
        FILE *const file = fopen(latin1.constData(), "w");
        QVERIFY(file && fclose(file) == 0);

        const Walk found = walk(folder->path(), "A.png");
        QVERIFY(unlink(latin1.constData()) == 0); // or the folder could not be removed
        QCOMPARE(found.names, images);
        QCOMPARE(found.count, images.size());
        QVERIFY(found.complete);
        QCOMPARE(found.selected, QList<int>{5});
        QCOMPARE(walk(path("folder.jpg")).names, QStringList("inside.jpg"));

        // What cannot be read is empty.
        QList<Walk> nothing = {walk(path("missing")), walk(path("b.jpg"))};
        QVERIFY(chmod(qPrintable(folder->path()), 0) == 0);
        Failures::asNobody([&] { nothing.append(walk(folder->path())); });
        QVERIFY(chmod(qPrintable(folder->path()), 0700) == 0);
        for (const Walk &walk : nothing)
            QVERIFY(walk.count == 0 && walk.complete && !walk.cutOff);

        // A drive that fails is not taken for an empty folder, nor for a smaller one.
        for (const int entries : {0, 2}) {
            entriesUntilFailure = entries;
            const Walk cut = walk(path("folder.jpg"));
            entriesUntilFailure = -1;
            QVERIFY(cut.complete && cut.cutOff && cut.count < 2);
        }
    }

    void batchesGrowAndWaitUntilOneIsTakenIn()
    {
        for (int i = 0; i < 1000; ++i)
            write(QStringLiteral("%1.jpg").arg(i), "x");
        const Walk found = walk(folder->path());
        QCOMPARE(found.names.size(), 1000);
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(found.names[i], QStringLiteral("%1.jpg").arg(i));
        QCOMPARE(found.batches.first(), 64);
        QVERIFY(found.batches.size() < 12);

        QList<FoundFiles> batches; // and with each the turn
        VistamoLoadFolderThread thread({1}, folder->path(), {});
        connect(&thread, &VistamoLoadFolderThread::filesFound, &thread,
                [&](const FoundFiles &files) { batches.append(files); });
        thread.start();
        QTRY_COMPARE(batches.size(), 1);
        QVERIFY(!thread.wait(200)); // it would end
        QCoreApplication::processEvents();
        QCOMPARE(batches.takeFirst().firstRow, 0);
        QVERIFY(batches.isEmpty());
        QTRY_COMPARE(batches.size(), 1);
        thread.stop();
        QVERIFY(thread.wait(1000));
    }
};

QTEST_GUILESS_MAIN(LoadFolderThreadTest)
#include "LoadFolderThreadTest.moc"
