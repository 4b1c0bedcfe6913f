#include "shared/image/DecodeGuard.h"
#include "shared/image/ImageReading.h"
#include "support/Files.h"

#include <cstdlib>
#include <list>

class DecodeGuardTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"notes"});
        notes = path("notes");
        killer = path(Files::possibleName(QString::fromUtf8("killer 1 \n\u05d0.jpg")));
        other = path("other.jpg");
        for (const QString &file : {killer, other})
            QVERIFY(Files::write(file, "x"));
    }

    void cleanup() { DecodeGuard::finish(); }

    void fileOfTwoDeathsIsPassedOverUntilItChanges()
    {
        dieDecoding({killer});
        DecodeGuard::start(notes); // who leaves it to another way of decoding does not clear it
        QVERIFY(!ImageReading::openRows(killer));
        QVERIFY(!ImageReading::readPlainJpeg(killer, [](QSize) { return true; }));
        DecodeGuard::finish();
        dieDecoding({killer});
        for (int start = 0; start < 2; ++start) {
            DecodeGuard::start(notes);
            QVERIFY(!allowed(killer));
            QVERIFY(allowed(other));
            DecodeGuard::finish();
        }
        QVERIFY(Files::write(killer, "another"));
        DecodeGuard::start(notes);
        {
            const DecodeGuard::Decoding inFlight(killer);
            QVERIFY(inFlight);
            dieDecoding({other}); // takes nothing from an instance that lives
            QCOMPARE(QDir(notes).entryList({"*.journal"}, QDir::Files).size(), 2);
        }
        dieDecoding({});
        DecodeGuard::finish();
        DecodeGuard::start(notes);
        DecodeGuard::finish();
        // Nothing but the notes stays behind.
        QCOMPARE(QDir(notes).entryList(QDir::Files), QStringList("decoding-notes.json"));
    }

    void goodDecodeClearsAFile()
    {
        for (int round = 0; round < 3; ++round) {
            dieDecoding({killer});
            DecodeGuard::start(notes);
            QVERIFY(allowed(killer));
            DecodeGuard::finish();
        }
    }

    void suspectIsDecodedAloneForAWhile()
    {
        dieDecoding({killer, other});
        dieDecoding({killer, other});
        DecodeGuard::start(notes);
        const DecodeGuard::Decoding first(killer);
        QVERIFY(first);
        // One that hangs holds up nobody for long, and being a suspect is no reason to be refused.
        QElapsedTimer time;
        time.start();
        QVERIFY(allowed(other) && time.restart() >= 2000);
        QVERIFY(allowed(other) && time.elapsed() < 2000);
    }

    void folderThatCannotBeUsedMeansNoGuard()
    {
        DecodeGuard::start(other);
        QVERIFY(allowed(killer));
        write("notes/decoding-notes.json", "{ nonsense");
        write("notes/decoding-1.journal", QByteArray(9000, 'x'));
        DecodeGuard::start(notes);
        QVERIFY(allowed(killer));
    }

private:
    static bool allowed(const QString &path) { return bool(DecodeGuard::Decoding(path)); }
    /// Starts this program once more as one that dies while it decodes the files.
    void dieDecoding(const QStringList &files)
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), QStringList{"--die", notes} + files);
        QVERIFY(process.waitForFinished(patience));
        QCOMPARE(process.exitCode(), 7);
    }

    QString notes;
    QString killer;
    QString other;
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--die") {
        DecodeGuard::start(arguments[2]);
        const std::list<DecodeGuard::Decoding> inFlight(arguments.cbegin() + 3, arguments.cend());
        std::_Exit(7);
    }
    DecodeGuardTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "DecodeGuardTest.moc"
