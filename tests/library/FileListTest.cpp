#include "library/FileList.h"
#include "library/Folders.h"
#include "library/Ticks.h"

#include <QtGui>
#include <QtTest>

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
        list->begin({1});
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
        QCOMPARE(folders.paths(), QStringList({"/", "/photos/c", "/photos/b", "/photos/a"}));
        QCOMPARE(texts(folders.model()), QStringList({"", "c", "b", "a"}));
        for (const auto &[path, row] : {std::pair("/PHOTOS/B", 2), {"/photos", -1}, {"", -1}})
            QCOMPARE(folders.find(path), row);
        for (const auto &[from, to] : {std::pair(0, 3), {2, 0}})
            QVERIFY(folders.move(from, to));
        for (const auto &[from, to] : {std::pair(4, 0), {0, 4}, {-1, 0}})
            QVERIFY(!folders.move(from, to));
        QCOMPARE(texts(folders.model()), QStringList({"a", "c", "b", ""}));
        QVERIFY(!folders.remove("/photos/B"));
        QVERIFY(folders.remove("/photos/b"));
        QCOMPARE(folders.pathAt(2), "/");
        QCOMPARE(folders.pathAt(3), QString());
    }

    void ticksKeepTheirOrder()
    {
        for (const char *const name : {"b.jpg", "a.jpg", "B.JPG", "c.jpg"})
            ticks->set("/photos", name, true);
        ticks->set("/other", "a.jpg", true);
        QVERIFY(ticks->contains("/Photos", "A.jpg") && !ticks->contains("/photos", "d.jpg"));
        ticks->set("/PHOTOS", "A.jpg", false);
        ticks->set("/photos", "d.jpg", false);
        QCOMPARE(ticks->files(), QStringList({"/photos/b.jpg", "/photos/c.jpg", "/other/a.jpg"}));
        QCOMPARE(ticks->filesOf("/PHOTOS"), QStringList({"/photos/b.jpg", "/photos/c.jpg"}));
        ticks->set("/photos", "a.jpg", true); // ticked again it comes last
        QCOMPARE(ticks->files().last(), "/photos/a.jpg");
    }

    void batchesOfAnotherLoadAreLeftOut()
    {
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg"}), true));
        QVERIFY(!list->take(batch(2, {"x.jpg"}, true, 2), true));
        list->begin({2});
        QVERIFY(!list->take(batch(0, {"y.jpg"}, true, 1), true));
        QCOMPARE(texts(list->list()), QStringList({"a.jpg", "b.jpg"}));
        QCOMPARE(list->strip().columnCount(), 2);
    }

    void rowsAreUsedAgain()
    {
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg", "c.jpg"}), true));
        ticks->set("/photos", "b.jpg", true);
        for (int row = 0; row < 3; ++row)
            list->take(answer(row, list->at(row)->fileName));
        QCOMPARE(ticked(), QList({1}));
        const QIcon icon = list->list().item(0)->icon();
        QSignalSpy sizes(list.get(), &FileList::sizesChanged);

        // The same again: rows, icons and ticks stay.
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg", "c.jpg"}, true), true));
        QCOMPARE(list->list().item(0)->icon().cacheKey(), icon.cacheKey());
        QCOMPARE(sizes.size(), 0);
        // Another file has neither; what is left over goes.
        QVERIFY(list->take(batch(0, {"a.jpg", "x.jpg"}, true), false));
        QCOMPARE(sizes.size(), 1);
        QCOMPARE(texts(list->list()), QStringList({"a.jpg", "x.jpg"}));
        QCOMPARE(list->strip().item(0, 1)->text(), "x.jpg");
        QCOMPARE(list->strip().columnCount(), 2);
        QCOMPARE(ticked(), QList<int>());
        QVERIFY(!list->list().item(1)->isCheckable());
    }

    void answersFindTheirFile()
    {
        QVERIFY(list->take(batch(0, {"a.jpg", "b.jpg", "c.jpg"}, true), true));
        QVERIFY(list->remove("/PHOTOS/A.jpg") && !list->remove("/photos/a.jpg"));
        list->take(answer(2, "c.jpg")); // its row is 1 by now
        list->take(answer(0, "a.jpg")); // has left
        list->take(answer(0, "b.jpg", 2));
        QCOMPARE(VistamoGlobal::fileDataList[0].imageRect, QRect());
        QCOMPARE(VistamoGlobal::fileDataList[1].imageRect, thumbnailRect(QSize(256, 128)));
        QCOMPARE(list->rowOf("/photos/c.jpg"), 1);
        QCOMPARE(list->rowOf("/PHOTOS/c.jpg"), 1);
        QCOMPARE(list->rowOf("/photos/C.jpg"), -1);
        QCOMPARE(list->lastRowNamed("C.JPG"), 1);
        QVERIFY(!list->at(2) && !list->at(-1));
        // The next walk fills the strip again.
        QVERIFY(list->take(batch(0, {"b.jpg", "c.jpg"}, true), true));
        QCOMPARE(list->strip().columnCount(), 2);
        list->reflow();
        QCOMPARE(list->list().rowCount(), 2);
    }

private:
    static TFileRecord record(const QString &name)
    {
        TFileRecord record;
        record.fileName = name;
        record.path = "/photos";
        record.fullPath = "/photos/" + name;
        return record;
    }
    static FoundFiles batch(int first, const QStringList &names, bool complete = false, int generation = 1)
    {
        FoundFiles files;
        files.generation = {generation};
        files.firstRow = first;
        for (const QString &name : names)
            files.records.append(record(name));
        files.complete = complete;
        return files;
    }
    static ThumbnailAnswer answer(int row, const QString &name, int generation = 1)
    {
        ThumbnailAnswer answer;
        answer.generation = {generation};
        answer.row = row;
        answer.fileName = name;
        answer.size = QSize(256, 128);
        return answer;
    }
    static QStringList texts(const QStandardItemModel &model)
    {
        QStringList texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts.append(model.item(row)->text());
        return texts;
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

    std::unique_ptr<Ticks> ticks;
    std::unique_ptr<FileList> list;
};

QTEST_MAIN(FileListTest)
#include "FileListTest.moc"
