#include "fileops/FileTransfer.h"
#include "support/Files.h"

#include <QtTest>

/// Which files go across in a copy or a move, who is asked and what is told, without a window.
class FileTransferTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"from", "to"});
        for (const char *const name : {"from/a", "from/b", "from/c"})
            write(name, name);
        write("to/b", "in the way");
        events.clear();
        target = path("to");
        cancelAfter = -1;
    }

    void copyOffersWhatStandsInTheWay()
    {
        QVERIFY(!transfer.transfer(Mode::Copy, sources({"a", "b", "c"})));
        QCOMPARE(events, QStringList({"offer to/b from from/b"}));
        transfer.overwrite({path("to/b")}, {path("from/b")});
        QCOMPARE(events.mid(1), QStringList({"told 3 to"}));
        for (const char *const name : {"a", "b", "c"})
            QCOMPARE(read(QString("to/") + name), QByteArray("from/") + name);
        QCOMPARE(disk("from").size(), 3);
        // The sum is that of the last transfer.
        transfer.finish();
        QCOMPARE(events.last(), "told 3 to");
        QVERIFY(!transfer.transfer(Mode::Copy, sources({"a"})));
        transfer.finish();
        QCOMPARE(events.last(), "told 0 to");
    }

    void moveTellsOfEachFile()
    {
        QVERIFY(transfer.transfer(Mode::Move, sources({"c", "a"})));
        QCOMPARE(events, QStringList({"moved from/c", "moved from/a", "told 2 to"}));
        QCOMPARE(disk("from"), QStringList("b"));
        QVERIFY(!transfer.transfer(Mode::Move, sources({"b", "gone"})));
        QCOMPARE(events.last(), "offer to/b to/gone from from/b from/gone");
        transfer.overwrite({path("to/b"), path("to/gone")}, sources({"b", "gone"}));
        QCOMPARE(events.last(), "told 1 to");
        QCOMPARE(disk("from"), QStringList());
        QCOMPARE(read("to/b"), "from/b");
    }

    void nothingWithoutAFolderOrAfterCancel()
    {
        target.clear();
        QVERIFY(transfer.transfer(Mode::Move, sources({"a"})));
        QCOMPARE(events, QStringList());
        target = path("to");
        cancelAfter = 2;
        QVERIFY(transfer.transfer(Mode::Move, sources({"b", "a", "c"})));
        QCOMPARE(events, QStringList("told 1 to")); // copied, and not taken from its place any more
        QCOMPARE(disk("from").size(), 3);
        QCOMPARE(disk("to"), QStringList({"a", "b"}));
        cancelAfter = 1;
        transfer.overwrite({path("to/a"), path("to/b")}, sources({"c", "c"}));
        QVERIFY(read("to/a") == "from/c" && read("to/b") == "in the way");
    }

private:
    using Mode = FileTransfer::Mode;

    /// Does the work at once, and is cancelled after some pieces.
    struct Runner : FileRunner
    {
        explicit Runner(int &left)
            : left(left)
        {
        }
        bool run(const QString &, const Work &work) override
        {
            const bool done = work(progress);
            left -= left > 0;
            return done;
        }
        bool isCancelled() const override { return left == 0; }

        int &left;
        FileCopy::Progress progress;
    };

    QStringList sources(QStringList names) const
    {
        for (QString &name : names)
            name = path("from/" + name);
        return names;
    }
    QString shortly(const QString &file) const { return QDir(folder->path()).relativeFilePath(file); }
    QString shortly(const QStringList &files) const
    {
        QStringList names;
        for (const QString &file : files)
            names.append(shortly(file));
        return names.join(' ');
    }

    QString target;
    int cancelAfter = -1;
    QStringList events;
    FileTransfer transfer{{[this] { return target; },
                           [this] { return std::make_unique<Runner>(cancelAfter); },
                           [this](const QString &source) { events.append("moved " + shortly(source)); },
                           [this](const QStringList &targets, const QStringList &sources) {
                               events.append("offer " + shortly(targets) + " from " + shortly(sources));
                           },
                           [this](int count, const QString &to) {
                               events.append(QStringLiteral("told %1 %2").arg(count).arg(shortly(to)));
                           }}};
};

QTEST_MAIN(FileTransferTest)
#include "FileTransferTest.moc"
