#include "library/FolderLoad.h"
#include "library/FolderWatch.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtTest>

/// What is read and when it is read again, without a window.
class FolderLoadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        VistamoGlobal::buildImageFileExtensionList();
        newFolder({"a", "b", "c"});
        for (int i = 0; i < 2000; ++i)
            write(QStringLiteral("a/%1.jpg").arg(i), "x");
        Pictures::saveMany(path("b"), 3);
        load = std::make_unique<FolderLoad>();
        events.clear();
        files = answers = 0;
        connect(load.get(), &FolderLoad::shown, this,
                [this](const QString &path) { events.append("shown " + QFileInfo(path).fileName()); });
        connect(load.get(), &FolderLoad::began, this, [this](Generation generation) {
            QVERIFY(!(generation == current));
            current = generation;
            files = 0;
        });
        connect(load.get(), &FolderLoad::walkEnded, this, [this] { events.append("walked"); });
        connect(load.get(), &FolderLoad::filesFound, this, [this](const FoundFiles &found) {
            QCOMPARE(found.generation, current);
            files += static_cast<int>(found.records.size());
            for (qsizetype i = 0; i < found.infos.size(); ++i)
                load->requestThumbnail(found.infos[i], found.firstRow + static_cast<int>(i));
        });
        connect(load.get(), &FolderLoad::thumbnailMade, this, [this] { ++answers; });
    }

    void cleanup()
    {
        load->stop();
        load->end(QDeadlineTimer(5000));
        QVERIFY(!StoppableThread::someLeftBehind);
        load.reset();
        QVERIFY(!VistamoGlobal::vistamoLoadFolderThreadStat);
    }

    void statesOfALoad()
    {
        QCOMPARE(load->state(), State::Idle);
        load->show(path("b"));
        QVERIFY(load->state() == State::Running && VistamoGlobal::vistamoLoadFolderThreadStat);
        load->show(path("b")); // the same: nothing
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events, QStringList({"shown b", "walked"}));
        QVERIFY(files == 3 && answers == 3 && !VistamoGlobal::vistamoLoadFolderThreadStat);
        load->showChanged(path("B")); // whatever the case
        load->showChanged(path("c")); // not on show any more
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events.mid(2), QStringList({"shown B", "walked"}));
        load->leave();
        load->reload();
        QCOMPARE(load->state(), State::Idle);
        QCOMPARE(load->path(), QString());
    }

    void lastFolderCounts()
    {
        load->show(path("a"));
        load->show(path("c"));
        load->show(path("b"));
        QCOMPARE(load->state(), State::Stopping);
        QTRY_COMPARE(load->state(), State::Idle);
        QCOMPARE(events, QStringList({"shown a", "shown c", "shown b", "walked", "walked"}));
        QCOMPARE(files, 3);
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
        QTRY_COMPARE(files, 2000);
        QCOMPARE(events, QStringList({"shown a", "walked", "removed", "shown a", "walked"}));
        load->stopThen(removal); // at once, and once only
        QCOMPARE(events.count("removed"), 2);
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
        QVERIFY(changed.wait());
        QCOMPARE(changed, QSignalSpy::QList({{path("b")}}));
        // A storm is reported while it goes on.
        QTimer storm;
        connect(&storm, &QTimer::timeout, &watch, [&] { watch.reportSoon(path("b")); });
        storm.start(20);
        QVERIFY(changed.wait(10000));
    }

private:
    using State = FolderLoad::State;

    std::unique_ptr<FolderLoad> load;
    Generation current;
    QStringList events;
    int files = 0;
    int answers = 0;
};

QTEST_MAIN(FolderLoadTest)
#include "FolderLoadTest.moc"
