#include "library/FileList.h"
#include "library/FolderProbe.h"
#include "library/Folders.h"
#include "library/Ticks.h"
#include "support/Failures.h"
#include "support/Files.h"

#include <QtGui>

#ifndef Q_OS_WIN
#    include <sys/stat.h>
#endif

/// Folders, files and ticks as lists that never lose step with their models, without a window.
class FileListTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        ticks = std::make_unique<Ticks>();
        list = std::make_unique<FileList>(FileList::Surroundings{
            [this](const TFileRecord &file) { return ticks->contains(file.path, file.fileName); },
            [](const auto &change) { change(); }});
        list->begin({1}, "/photos");
    }

    void cleanup()
    {
        list.reset();
        QVERIFY(VistamoGlobal::fileDataList.isEmpty());
    }

    void foldersStayInStep()
    {
        Folders folders;
        for (const char *const path : {"/photos/a", "/photos/b", "/photos/c", "/"})
            folders.add(path, {});
        QVERIFY(folders.move(0, 3) && folders.move(2, 0) && !folders.move(4, 0) && !folders.move(0, -1));
        QVERIFY(!folders.remove("/photos/B") && folders.remove("/photos/b"));
        QCOMPARE(folders.paths(), QStringList({"/photos/a", "/photos/c", "/"}));
        QCOMPARE(texts(folders.model()), QStringList({"a", "c", ""}));
    }

    void foldersThatMayComeBackAreNoneThatAreGone()
    {
        const QTemporaryDir folder;
        QList<std::pair<QString, FolderState>> cases = {{folder.path(), FolderState::There},
                                                        {folder.filePath("gone"), FolderState::Gone},
                                                        {folder.filePath("drive/x"), FolderState::Away},
                                                        {{}, FolderState::Gone}};
#ifdef Q_OS_WIN
        qWarning("Left out: a folder that may not be read, which permissions do not stop there.");
        for (const char *const away : {"Q:", "Q:/", "Q:/x", "//server/share", "//server/share/x"})
            cases.append({away, FolderState::Away});
#else
        const QString closed = folder.filePath("closed");
        QVERIFY(chmod(qPrintable(folder.path()), 0755) == 0 && mkdir(qPrintable(closed), 0) == 0);
        cases.append({closed + "/x", FolderState::Away});
        const QString mountPoint = "/mnt/orrelan-test"; // with nothing on it
        if (mkdir(qPrintable(mountPoint), 0755) == 0)
            cases.append({mountPoint + "/x", FolderState::Away});
#endif
        QHash<QString, FolderState> states;
        Failures::asNobody([&] {
            for (const auto &[path, state] : cases)
                states.insert(probeFolders({path}, 10'000));
        });
#ifndef Q_OS_WIN
        rmdir(qPrintable(mountPoint));
#endif
        for (const auto &[path, state] : cases)
            QVERIFY2(states.value(path, FolderState(-1)) == state, qPrintable(path));
    }

    void ticksWithoutFilesAreNotCounted()
    {
        for (const char *const name : {"a.jpg", "b.jpg", "c.jpg"})
            ticks->set("/photos", name, true);
        ticks->set("/other", "a.jpg", true);
        const auto counts = [this] { return std::pair(ticks->countOf("/photos"), ticks->count()); };
        ticks->setPresent("/photos", batch(0, {"b.jpg", "c.jpg", "d.jpg"}, true).records);
        QCOMPARE(counts(), std::pair(2, 3));
        ticks->changePresent("/photos", {"c.jpg", "d.jpg"}, batch(0, {"a.jpg", "e.jpg"}, true).records);
        QCOMPARE(counts(), std::pair(2, 3));
        ticks->untick({"/photos/a.jpg", "/photos/c.jpg", "/photos/d.jpg"});
        QCOMPARE(counts(), std::pair(1, 2));
    }

    void folderThatIsReadAgainChangesWhereItDiffers()
    {
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg", "c.jpg", "d.jpg"}, true), true));
        QVERIFY(!list->take(batch(4, {"x.jpg"}, true, 2), true)); // of another load
        ticks->set("/photos", "c.jpg", true);
        for (const int row : {0, 1, 2})
            list->take(answer(row, list->at(row)->fileName));
        QCOMPARE(ticked(), QList({2}));
        const QIcon icon = list->list().item(2)->icon();
        const QPersistentModelIndex selected = list->list().index(2, 0);
        QSignalSpy sizes(list.get(), &FileList::sizesChanged);
        const auto readAgain = [&](const QStringList &names, bool checkable = true,
                                   const QStringList &kept = {}) {
            list->begin({1}, "/photos");
            const QStringList before = texts(list->list());
            const auto half = names.size() / 2;
            const auto none = list->take(batch(0, names.first(half)), checkable);
            QVERIFY(none && none->isEmpty() && texts(list->list()) == before); // as yet
            FoundFiles last = batch(int(half), names.mid(half), true);
            last.cutOff = !kept.isEmpty();
            take(last, checkable);
            QCOMPARE(texts(list->list()), last.cutOff ? kept : names);
            QCOMPARE(list->strip().columnCount(), list->count());
        };
        readAgain({"a.jpg", "b.jpg", "c.jpg", "d.jpg"});
        QCOMPARE(asked, QList({3})); // had no answer
        readAgain({"0.jpg", "a.jpg", "bb.jpg", "c.jpg", "d.jpg", "e.jpg", "f.jpg"});
        QCOMPARE(asked, QList({0, 2, 4, 5, 6}));
        QVERIFY(selected.row() == 3 && list->list().item(3)->icon().cacheKey() == icon.cacheKey());
        // A drive that fails half-way has told of no file that it is gone.
        readAgain({"aa.jpg", "d.jpg"}, true,
                  {"0.jpg", "a.jpg", "aa.jpg", "bb.jpg", "c.jpg", "d.jpg", "e.jpg", "f.jpg"});
        QVERIFY(selected.row() == 4 && list->list().item(4)->icon().cacheKey() == icon.cacheKey());
        QCOMPARE(ticked(), QList({4}));
        QCOMPARE(sizes.size(), 0);
        readAgain({"c.jpg", "f.jpg"}, false);
        QVERIFY(selected.row() == 0 && sizes.size() == 1 && !list->list().item(1)->isCheckable());
        list->begin({1}, "/other");
        QVERIFY(list->count() == 0 && !selected.isValid());
    }

    void onlyWhatDiffersIsTouched()
    {
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg", "c.jpg", "d.jpg", "e.jpg"}, true), true));
        list->take(answer(3, "d.jpg"));
        const QPersistentModelIndex selected = list->list().index(3, 0);
        const QIcon icon = list->list().item(3)->icon();
        const auto differ = [&](const QStringList &come, const QSet<QString> &gone) {
            FoundFiles files = batch(0, come, true);
            for (TFileRecord &file : files.records) {
                file.modifiedTime = QDateTime::fromSecsSinceEpoch(1);
                file.size = 2;
            }
            files.gone = gone;
            take(files);
            QCOMPARE(texts(list->list()), namesInList());
            QCOMPARE(texts(list->strip()), namesInList());
        };
        // In front, in the middle and at the end; one in another's place; one that is not listed.
        differ({"0.jpg", "1.jpg", "bb.jpg", "c.jpg", "f.jpg"}, {"a.jpg", "b.jpg", "x.jpg"});
        QCOMPARE(namesInList(),
                 QStringList({"0.jpg", "1.jpg", "bb.jpg", "c.jpg", "d.jpg", "e.jpg", "f.jpg"}));
        QCOMPARE(asked, QList({0, 1, 2, 3, 6}));
        QVERIFY(selected.row() == 4 && list->list().item(4)->icon().cacheKey() == icon.cacheKey());
        // What was asked for before finds its place, in the strip too.
        list->take(answer(4, "e.jpg"));
        QCOMPARE(list->strip().item(0, 5)->icon().cacheKey(), list->list().item(5)->icon().cacheKey());
        QVERIFY(!list->at(5)->imageRect.isNull() && list->at(4)->size == 1);
        // An answer to what was there before is none.
        list->take(answer(2, "c.jpg"));
        QVERIFY(list->at(3)->imageRect.isNull() && list->at(3)->size == 2);
        differ({"c.jpg"}, {});
        QCOMPARE(asked, QList<int>()); // is the same now
        // One that left by itself has left its cell, which the next change takes away.
        QVERIFY(list->remove({"/photos/d.jpg"}));
        list->take(answer(6, "f.jpg"));
        QCOMPARE(list->strip().item(0, 6)->icon().cacheKey(), list->list().item(5)->icon().cacheKey());
        differ({}, {"0.jpg"});
        differ({}, {"1.jpg", "bb.jpg", "c.jpg", "e.jpg", "f.jpg"});
        QCOMPARE(list->count(), 0);
        differ({"z.jpg"}, {});
        QCOMPARE(asked, QList({0}));
    }

    void filesWhoseNamesDifferByCaseAlone()
    {
        const QTemporaryDir folder;
        FoundFiles files = batch(0, {"A.jpg", "a.jpg"}, true);
        for (TFileRecord &file : files.records) {
            file.path = folder.path();
            file.fullPath = folder.filePath(file.fileName);
            QVERIFY(Files::write(file.fullPath, {}));
            ticks->set(folder.path(), file.fileName, true);
        }
        if (QFile::remove(folder.filePath("a.jpg")) && !QFile::exists(folder.filePath("A.jpg")))
            QSKIP("They are one here.");
        list->begin({1}, folder.path());
        QVERIFY(list->take(files, true));
        QCOMPARE(list->lastRowNamed("A.jpg"), 0);
        ticks->set(folder.path(), "a.jpg", false);
        QVERIFY(list->remove({folder.filePath("a.jpg")}) && !list->remove({folder.filePath("a.jpg")}));
        QCOMPARE(VistamoGlobal::fileDataList.value(0).fileName, "A.jpg");
        QCOMPARE(ticks->files(), QStringList(folder.filePath("A.jpg")));
        // Both at once, when neither is there to be asked whether they were one.
        ticks->set(folder.path(), "a.jpg", true);
        QVERIFY(QFile::remove(folder.filePath("A.jpg")));
        ticks->untick({folder.filePath("A.jpg"), folder.filePath("a.jpg")});
        QCOMPARE(ticks->files(), QStringList());
    }

    void answersFindTheirFile()
    {
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg", "c.jpg"}, true), true));
        QVERIFY(list->remove({"/PHOTOS/A.jpg"}) && !list->remove({"/photos/a.jpg"}));
        list->take(answer(2, "c.jpg")); // its row is 1 by now
        list->take(answer(0, "a.jpg")); // has left
        list->take(answer(0, "b.jpg", 2));
        QCOMPARE(VistamoGlobal::fileDataList[0].imageRect, QRect());
        QCOMPARE(VistamoGlobal::fileDataList[1].imageRect, thumbnailRect(QSize(256, 128)));
        QVERIFY(list->rowOf("/PHOTOS/c.jpg") == 1 && list->rowOf("/photos/C.jpg") == -1);
        QVERIFY(list->lastRowNamed("C.JPG") == 1 && !list->at(2) && !list->at(-1));
        // The next walk fills the strip again.
        list->begin({1}, "/photos");
        QVERIFY(list->take(batch(0, {"b.jpg", "c.jpg"}, true), true));
        QCOMPARE(list->strip().columnCount(), 2);
        list->reflow();
        QCOMPARE(list->list().rowCount(), 2);
    }

private:
    static FoundFiles batch(int first, const QStringList &names, bool complete = false, int generation = 1)
    {
        FoundFiles files;
        files.generation = {generation};
        files.firstRow = first;
        for (const QString &name : names) {
            TFileRecord &record = files.records.emplaceBack();
            record.fileName = name;
            record.path = "/photos";
            record.fullPath = "/photos/" + name;
        }
        files.complete = complete;
        return files;
    }
    void take(const FoundFiles &files, bool checkable = true)
    {
        asked.clear();
        for (const TThumbnailRequest &request :
             list->take(files, checkable).value_or(QList<TThumbnailRequest>()))
            asked.append(request.row);
    }
    static ThumbnailAnswer answer(int row, const QString &name, int generation = 1)
    {
        ThumbnailAnswer answer;
        answer.generation = {generation};
        answer.row = row;
        answer.fileName = name;
        answer.key.size = 1; // a walk that could not look at the file does not know it
        answer.size = QSize(256, 128);
        return answer;
    }
    static QStringList texts(const QStandardItemModel &model)
    {
        QStringList texts;
        for (int i = 0; i < model.rowCount() * model.columnCount(); ++i) // one of them is 1
            texts.append(model.item(i % model.rowCount(), i / model.rowCount())->text());
        return texts;
    }
    static QStringList namesInList()
    {
        QStringList names;
        for (const TFileRecord &file : std::as_const(VistamoGlobal::fileDataList))
            names.append(file.fileName);
        return names;
    }
    QList<int> ticked() const
    {
        QList<int> rows;
        for (int row = 0; row < list->count(); ++row) {
            if (list->list().item(row)->checkState() == Qt::Checked)
                rows.append(row);
        }
        return rows;
    }

    QList<int> asked; ///< rows for whose thumbnails the last batch did
    std::unique_ptr<Ticks> ticks;
    std::unique_ptr<FileList> list;
};

QTEST_MAIN(FileListTest)
#include "FileListTest.moc"
