#include "library/FolderLoad.h"
#include "library/FolderWatch.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <atomic>

/// What happens before any look at a file of this name; nothing on Windows.
static std::function<void()> beforeLook;
static const char *const lookedFor = "comes back";

/// The entries that folders give before they fail, as on a drive that goes away; below 0: they don't.
static std::atomic_int entriesUntilFailure = -1;

#ifdef Q_OS_WIN

static std::atomic<DWORD> failure = ERROR_IO_DEVICE;

static const decltype(&FindFirstFileExW) usualFirst = Imports::replace<decltype(&FindFirstFileExW)>(
    "FindFirstFileExW",
    [](const wchar_t *pattern, FINDEX_INFO_LEVELS level, void *entry, FINDEX_SEARCH_OPS search, void *filter,
       DWORD flags) -> HANDLE {
        if (entriesUntilFailure != 0)
            return usualFirst(pattern, level, entry, search, filter, flags);
        SetLastError(failure);
        return INVALID_HANDLE_VALUE;
    });

static const decltype(&FindNextFileW) usualNext = Imports::replace<decltype(&FindNextFileW)>(
    "FindNextFileW", [](HANDLE search, WIN32_FIND_DATAW *entry) -> BOOL {
        if (--entriesUntilFailure != 0)
            return usualNext(search, entry);
        SetLastError(failure);
        return FALSE;
    });

#else

#    include <dirent.h>
#    include <dlfcn.h>
#    include <unistd.h>

extern "C" dirent *readdir(DIR *folder)
{
    if (entriesUntilFailure == 0) {
        errno = EIO;
        return nullptr;
    }
    --entriesUntilFailure;
    return reinterpret_cast<decltype(&readdir)>(dlsym(RTLD_NEXT, "readdir"))(folder);
}

extern "C" int access(const char *path, int mode) noexcept
{
    if (beforeLook && QByteArrayView(path).endsWith(lookedFor))
        beforeLook();
    return reinterpret_cast<decltype(&access)>(dlsym(RTLD_NEXT, "access"))(path, mode);
}

#endif

/// What is read, in which order, and when it is read again, without a window.
class FolderLoadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        VistamoGlobal::buildImageFileExtensionList();
        newFolder({"a", "b", "c"});
        for (int i = 0; i < 1000; ++i)
            write(QStringLiteral("a/%1.jpg").arg(i), "x");
        Pictures::saveMany(path("b"), 3);
        load = std::make_unique<FolderLoad>();
        events.clear();
        answers = 0;
        current = {};
        connect(load.get(), &FolderLoad::shown, this,
                [this](const QString &path) { events.append("shown " + QFileInfo(path).fileName()); });
        connect(load.get(), &FolderLoad::began, this, [this](Generation generation, const QString &path) {
            QVERIFY(!(generation == current));
            current = generation;
            currentPath = path;
            names.clear();
            VistamoGlobal::fileDataList.clear();
            complete = false;
        });
        connect(load.get(), &FolderLoad::filesFound, this, [this](const FoundFiles &found) {
            QCOMPARE(found.generation, current);
            QCOMPARE(found.path, currentPath); // by now another may be asked for
            if (found.gone) {
                takeChange(found);
                return;
            }
            VistamoGlobal::fileDataList += found.records;
            QVERIFY(!complete && found.firstRow == names.size());
            complete = found.complete;
            cutOff = found.cutOff;
            for (qsizetype i = 0; i < found.records.size(); ++i) {
                QCOMPARE(found.records[i].fullPath, found.path + '/' + found.records[i].fileName);
                load->requestThumbnail(found.infos[i], static_cast<int>(names.size()));
                names.append(found.records[i].fileName);
            }
        });
        connect(load.get(), &FolderLoad::currentColumnChanged, this, [this](int column) {
            QVERIFY(column < names.size());
            events.append("column " + QString::number(column));
        });
        connect(load.get(), &FolderLoad::enumFilesFinish, this,
                [this](int count) { QCOMPARE(count, VistamoGlobal::fileDataList.size()); });
        connect(load.get(), &FolderLoad::walkEnded, this, [this] { events.append("walked"); });
        connect(load.get(), &FolderLoad::thumbnailMade, this, [this] { ++answers; });
    }

    void cleanup()
    {
        load->stop();
        load->end(QDeadlineTimer(5000));
        QVERIFY(!StoppableThread::someLeftBehind);
        load.reset();
        QVERIFY(!VistamoGlobal::vistamoLoadFolderThreadStat);
        VistamoGlobal::selectedFileName.clear();
        VistamoGlobal::fileDataList.clear();
    }

    void imagesAreFoundInTheOrderOfTheirNames()
    {
        const QString longest = QString(251, 'n') + ".jpg";
        QStringList images = {"#?;&.jpg",        "09.jpg",         "9.jpg",    "10.jpg",
                              "100%1 %s.jpg",    "a.b.c.webp",     "a.PNG",    "b.jpg",
                              "layers.pspimage", "line\nfeed.jpg", "link.jpg", longest,
                              "quote's \".jpg",  "X.JFI",          "x.jfi",    "x.psd"};
        // Of one unit and of two, each with its capital between two small ones.
        for (const char *const name : {"\u00e4a", "\u00c4b", "\u00e4c", "\u05e9\u05dc\u05d5\u05dd",
                                       "\U00010428a", "\U00010400b", "\U00010428c"})
            images.append(QString::fromUtf8(name) + ".jpg");
#ifdef Q_OS_WIN
        images.removeAll("x.jfi"); // the same file
        std::transform(images.cbegin(), images.cend(), images.begin(), Files::possibleName);
        write("c/hidden.jpg", "x");
        QVERIFY(SetFileAttributesW(QFileInfo(path("c/hidden.jpg")).filesystemFilePath().c_str(),
                                   FILE_ATTRIBUTE_HIDDEN));
#endif
        for (const QString &name :
             images + QStringList{"c.txt", ".hidden.jpg", "jpg", "archive.png.zip", "picture."})
            write(name == "link.jpg" ? "target" : "c/" + name, "x");
        QVERIFY(QDir(path("c")).mkdir("folder.jpg"));
        write("c/folder.jpg/inside.jpg", "x");
        if (!Files::link(path("target"), path("c/link.jpg")))
            images.removeAll("link.jpg");
        else
            QVERIFY(Files::link(path("gone.jpg"), path("c/broken link.jpg")));
#ifndef Q_OS_WIN
        // A name that is no UTF-8 cannot be told in a QString, and is left out.
        const QByteArray latin1 = QFile::encodeName(path("c")) + "/\xe9t\xe9.jpg";
        FILE *const file = fopen(latin1.constData(), "w");
        QVERIFY(file && fclose(file) == 0);
#endif

        VistamoGlobal::selectedFileName = "A.png";
        walk("c");
        QCOMPARE(names, images);
        QCOMPARE(events, QStringList({"shown c", "column 6", "walked"}));
        walk("c/folder.jpg");
        QCOMPARE(names, QStringList("inside.jpg"));
        for (const char *const nothing : {"missing", "c/b.jpg"}) {
            walk(nothing);
            QVERIFY2(complete && !cutOff && names.isEmpty(), nothing);
        }

#ifdef Q_OS_WIN
        entriesUntilFailure = 0;
        failure = ERROR_ACCESS_DENIED;
        walk("c");
        failure = ERROR_IO_DEVICE;
        entriesUntilFailure = -1;
#else
        QVERIFY(unlink(latin1.constData()) == 0); // or the folder could not be removed
        Failures::onUnreadableFile(path("c"), [this] { walk("c"); });
#endif
        QVERIFY(complete && !cutOff && names.isEmpty());

        // A drive that fails is not taken for an empty folder, nor for a smaller one.
        for (const int entries : {0, 2}) {
            entriesUntilFailure = entries;
            walk("c/folder.jpg");
            entriesUntilFailure = -1;
            QVERIFY(complete && cutOff && names.size() < 2);
        }
    }

    void batchesWaitUntilOneIsTakenIn()
    {
        QList<FoundFiles> held; // and with each the turn
        connect(load.get(), &FolderLoad::filesFound, this,
                [&](const FoundFiles &found) { held.append(found); });
        load->show(path("a"));
        QTRY_COMPARE(held.size(), 1);
        QVERIFY(!QTest::qWaitFor([&] { return held.size() > 1; }, 200));
        held.clear();
        QTRY_COMPARE(held.size(), 1);
        load->stop(); // does not wait for a turn
        QTRY_COMPARE(load->state(), State::Idle);
    }

    void lastFolderCounts()
    {
        load->show(path("a"));
        load->show(path("c"));
        for (int i = 0; i < 2; ++i)
            load->show(path("b"));
        QCOMPARE(load->state(), State::Stopping);
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events, QStringList({"shown a", "shown c", "shown b", "walked", "walked"}));
        QVERIFY(names.size() == 3 && answers == 3);
        load->showChanged(path("c")); // not on show any more
        QCOMPARE(load->state(), State::Idle);
        load->showChanged(path("B")); // whatever the case
        QVERIFY(load->state() == State::Running && VistamoGlobal::vistamoLoadFolderThreadStat);
        load->reload(); // after this
        load->leave();
        QTRY_COMPARE(load->state(), State::Idle);
        QVERIFY(load->path().isEmpty() && events.count("shown B") == 1);
    }

    void walkThatWasCutShortIsRedone()
    {
        load->show(path("a"));
        for (int i = 0; i < 3; ++i)
            load->reload(); // after this walk, and once
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events, QStringList({"shown a", "walked", "shown a", "walked"}));
        load->leave();
        events.clear();
        load->show(path("a"));
        const auto removal = [this] {
            events.append("removed");
            load->show(path("a")); // it stays on show
        };
        load->stopThen(removal);
        QTRY_COMPARE(events.count("walked"), 2);
        QTRY_COMPARE(names.size(), 1000);
        QCOMPARE(events, QStringList({"shown a", "walked", "removed", "shown a", "walked"}));
        load->stopThen(removal); // at once, and once only
        QCOMPARE(events.count("removed"), 2);
    }

    void whatDiffersIsFoundWithoutAWalk()
    {
        const auto changed = [this] {
            events.clear();
            load->showChanged(path("b"));
            QTRY_COMPARE(load->state(), State::Idle);
        };
        walk("b");
        changed();
        QCOMPARE(events, QStringList({"gone , come ", "walked"}));
        QVERIFY(QFile::copy(path("b/0000.jpg"), path("b/new.jpg")) && QFile::remove(path("b/0001.jpg")));
        for (const char *const name : {"b/0002.jpg", "b/text", "b/.hidden.jpg"})
            write(name, "another");
        QVERIFY(QDir(path("b")).mkdir("folder.jpg"));
        answers = 0;
        changed();
        QCOMPARE(events, QStringList({"gone 0001.jpg, come 0002.jpg new.jpg", "walked"}));
        QTRY_COMPARE(answers, 2);
        // Of very many no more at a time than the window takes in between two answers.
        TFileRecord record;
        for (int i = 0; i < 20000; ++i) {
            record.fileName = QString::number(i);
            VistamoGlobal::fileDataList.append(record);
        }
        changed();
        QCOMPARE(events.size(), 4);
        QCOMPARE(VistamoGlobal::fileDataList.size(), 3);
        // What comes meanwhile is found afterwards, once; a walk that is asked for comes then.
        load->showChanged(path("b"));
        write("b/more.jpg", "x");
        load->showChanged(path("b"));
        changed();
        QCOMPARE(events.count("walked"), 2);
        QCOMPARE(VistamoGlobal::fileDataList.last().fileName, "more.jpg");
        load->showChanged(path("b"));
        load->reload();
        events.clear();
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events, QStringList({"gone , come ", "walked", "shown b", "walked"}));
        // What was found when another folder is chosen is not for it.
        write("b/late.jpg", "x");
        events.clear();
        load->showChanged(path("b"));
        QThread::msleep(200); // its result waits in the queue
        load->show(path("c"));
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events, QStringList({"shown c", "walked", "walked"}));
        QVERIFY(QFile::remove(path("b/late.jpg")));
        walk("b");
        // While it cannot be read to its end, nothing is known to be gone.
        entriesUntilFailure = 1;
        changed();
        QCOMPARE(events, QStringList({"walked", "shown b", "walked"}));
        QVERIFY(cutOff);
        entriesUntilFailure = -1;
        changed();
        QCOMPARE(events, QStringList({"shown b", "walked"}));
        QCOMPARE(names, QStringList({"0000.jpg", "0002.jpg", "more.jpg", "new.jpg"}));
    }

    void changesAreDebounced()
    {
        FolderWatch watch;
        QSignalSpy changed(&watch, &FolderWatch::changed);
        connect(&watch, &FolderWatch::directoryChanged, &watch,
                [&](const QString &changedFolder) { watch.directoryModified(changedFolder, path("B")); });
        for (const char *const name : {"a", "b"})
            watch.watch(path(name));
        write("a/new.jpg", "x"); // not on show
        QVERIFY(QFile::remove(path("b/0000.jpg")));
        QVERIFY(changed.wait(patience));
        QCOMPARE(changed, QSignalSpy::QList({{path("b")}}));
        // A storm is reported while it goes on.
        QTimer storm;
        connect(&storm, &QTimer::timeout, &watch, [&] { watch.reportSoon(path("b")); });
        storm.start(20);
        QVERIFY(changed.wait(patience));
        storm.stop();
        // A folder that was away is looked for beside the window's work.
        QVERIFY(!watch.watch(path(lookedFor)) && watch.isMissing(path(lookedFor)));
        QSemaphore windowGoesOn;
        beforeLook = [&] {
            QMetaObject::invokeMethod(
                &watch, [&] { windowGoesOn.release(); }, Qt::QueuedConnection);
            windowGoesOn.acquire();
        };
        QVERIFY(QDir(folder->path()).mkdir(lookedFor));
        QTRY_VERIFY(changed.contains(QVariantList{path(lookedFor)}));
        beforeLook = nullptr;
    }

private:
    using State = FolderLoad::State;

    void walk(const QString &name)
    {
        load->leave();
        load->show(path(name));
        QTRY_COMPARE(load->state(), State::Idle);
    }

    /// Makes the list that of the folder.
    void takeChange(const FoundFiles &found)
    {
        QStringList gone(found.gone->begin(), found.gone->end());
        gone.sort();
        auto &files = VistamoGlobal::fileDataList;
        files.removeIf([&](const TFileRecord &file) { return found.gone->contains(file.fileName); });
        QStringList come;
        for (qsizetype i = 0; i < found.records.size(); ++i) {
            come.append(found.records[i].fileName);
            files.removeIf([&](const TFileRecord &file) { return file.fileName == come.last(); });
            files.append(found.records[i]);
            load->requestThumbnail(found.infos[i], static_cast<int>(i));
        }
        events.append("gone " + gone.join(' ') + ", come " + come.join(' '));
    }

    std::unique_ptr<FolderLoad> load;
    Generation current;
    QString currentPath;
    QStringList events;
    QStringList names; ///< that the load has found
    bool complete = false;
    bool cutOff = false;
    int answers = 0;
};

QTEST_MAIN(FolderLoadTest)
#include "FolderLoadTest.moc"
