#include "fileops/FileTransfer.h"
#include "support/Failures.h"
#include "support/Files.h"

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
        QVERIFY(!transfer.transfer(Mode::Copy, sources({"a", "b", "gone", "c"})));
        QCOMPARE(events, QStringList({"offer to/b to/gone from from/b from/gone"}));
        transfer.overwrite({path("to/b"), path("to/gone")}, sources({"b", "gone"}));
        QCOMPARE(events.mid(1), QStringList({"told 3 to"}));
        for (const char *const name : {"a", "b", "c"})
            QCOMPARE(read(QString("to/") + name), QByteArray("from/") + name);
        QCOMPARE(disk("from").size(), 3);
        transfer.finish(); // there was no other since
        QCOMPARE(events.last(), "told 3 to");
    }

    void filesOfOneNameAreNotMovedOverEachOther()
    {
        QVERIFY(QDir(path("from")).mkdir("other"));
        for (const char *const name : {"from/other/a", "from/other/b"})
            write(name, name);
        QVERIFY(!transfer.transfer(Mode::Move, sources({"a", "other/a", "b", "other/b"})));
        QCOMPARE(events, QStringList({"moved from/a", "offer to/b to/b from from/b from/other/b"}));
        transfer.overwrite({path("to/b"), path("to/b")}, sources({"b", "other/b"}));
        QCOMPARE(events.mid(2), QStringList({"moved from/b", "told 2 to"}));
        for (const char *const name : {"a", "b"}) {
            QCOMPARE(read(QString("to/") + name), QByteArray("from/") + name);
            QCOMPARE(read(QString("from/other/") + name), QByteArray("from/other/") + name);
        }
        // Nor over one that is to be moved to where it is.
        write("to/c", "was there");
        const QStringList both = {path("from/c"), path("to/c")};
        QVERIFY(!transfer.transfer(Mode::Move, both));
        QCOMPARE(events.last(), "offer to/c from to/c");
        transfer.overwrite({path("to/c"), path("to/c")}, both);
        QVERIFY(read("from/c") == "from/c" && read("to/c") == "was there");
        // Nothing is lost by copies: the second one is offered.
        QVERIFY(!transfer.transfer(Mode::Copy, sources({"c", "other/b"})));
        QCOMPARE(events.last(), "offer to/c to/b from from/c from/other/b");
    }

    void sourceThatCannotGoStays()
    {
        Failures::giveToNobody({path("."), path("to")});
        Failures::inClosedFolder(path("from"),
                                 [this] { QVERIFY(transfer.transfer(Mode::Move, sources({"a"}))); });
        QCOMPARE(events, QStringList("told 1 to"));
        QVERIFY(read("from/a") == "from/a" && read("to/a") == "from/a");
    }

    void nothingWithoutAFolderOrAfterCancel()
    {
        target.clear();
        QVERIFY(transfer.transfer(Mode::Move, sources({"a"})));
        QCOMPARE(events, QStringList());
        target = path("to");
        cancelAfter = 2;
        QVERIFY(transfer.transfer(Mode::Move, sources({"b", "a", "c"})));
        QCOMPARE(events, QStringList({"moved from/a", "told 1 to"}));
        QCOMPARE(disk("from"), QStringList({"b", "c"}));
        QCOMPARE(disk("to"), QStringList({"a", "b"}));
        cancelAfter = 1;
        write("to/c", "in the way");
        transfer.overwrite({path("to/c"), path("to/b")}, sources({"c", "b"}));
        QVERIFY(read("to/c") == "from/c" && read("to/b") == "in the way");
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
        bool run(const QString &, Place, const Work &work) override
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
        return names.replaceInStrings(QRegularExpression("^"), path("from/"));
    }
    QString shortly(const QStringList &files) const
    {
        return QStringList(files).replaceInStrings(folder->path() + '/', QString()).join(' ');
    }

    QString target;
    int cancelAfter = -1;
    QStringList events;
    FileTransfer transfer{{[this] { return target; },
                           [this] { return std::make_unique<Runner>(cancelAfter); },
                           [this](const QStringList &files) { events.append("moved " + shortly(files)); },
                           [this](const QStringList &targets, const QStringList &sources) {
                               events.append("offer " + shortly(targets) + " from " + shortly(sources));
                           },
                           [this](int count, const QString &to) {
                               events.append(QStringLiteral("told %1 %2").arg(count).arg(relative(to)));
                           }}};
};

QTEST_MAIN(FileTransferTest)
#include "FileTransferTest.moc"
