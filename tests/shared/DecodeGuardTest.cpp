#include "shared/DecodeGuard.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <unistd.h>
#include <vector>

namespace {

/// Starts this program once more as one that dies while it decodes the files.
void dieDecoding(const QString &notes, const QStringList &files)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), QStringList{"--die", notes} + files);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 7);
}

[[noreturn]] void die(const QString &notes, const QStringList &files)
{
    DecodeGuard::start(notes);
    std::vector<std::unique_ptr<DecodeGuard::Decoding>> inHand;
    for (const QString &file : files)
        inHand.push_back(std::make_unique<DecodeGuard::Decoding>(file));
    _exit(7);
}

void write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
}

} // namespace

class DecodeGuardTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void fileOfTwoDeathsIsPassedOverUntilItChanges();
    void goodDecodeClearsAFile();
    void filesSideBySideAreOnlySuspects();
    void livingInstanceIsNoDeath();
    void folderThatCannotBeWrittenMeansNoGuard();

private:
    bool allowed(const QString &path) const { return bool(DecodeGuard::Decoding(path)); }

    std::unique_ptr<QTemporaryDir> folder;
    QString notes;
    QString killer;
    QString other;
};

void DecodeGuardTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    notes = folder->filePath("notes");
    QVERIFY(QDir().mkpath(notes));
    killer = folder->filePath(QString::fromUtf8("killer \n\u05d0.jpg"));
    other = folder->filePath("other.jpg");
    write(killer, "x");
    write(other, "x");
}

void DecodeGuardTest::cleanup()
{
    DecodeGuard::finish();
}

void DecodeGuardTest::fileOfTwoDeathsIsPassedOverUntilItChanges()
{
    dieDecoding(notes, {killer});
    dieDecoding(notes, {killer});
    for (int start = 0; start < 2; ++start) {
        DecodeGuard::start(notes);
        QVERIFY(!allowed(killer));
        QVERIFY(allowed(other));
        DecodeGuard::finish();
    }
    write(killer, "another");
    DecodeGuard::start(notes);
    QVERIFY(allowed(killer));
    DecodeGuard::finish();
    // Nothing but the notes stays behind.
    QCOMPARE(QDir(notes).entryList(QDir::Files), QStringList("decoding-notes.json"));
}

void DecodeGuardTest::goodDecodeClearsAFile()
{
    dieDecoding(notes, {killer});
    DecodeGuard::start(notes);
    QVERIFY(allowed(killer));
    DecodeGuard::finish();
    dieDecoding(notes, {killer});
    DecodeGuard::start(notes);
    QVERIFY(allowed(killer));
}

void DecodeGuardTest::filesSideBySideAreOnlySuspects()
{
    dieDecoding(notes, {killer, other});
    DecodeGuard::start(notes);
    {
        // Side by side no more: a suspect waits until it is alone.
        const DecodeGuard::Decoding first(killer);
        QVERIFY(first);
        QVERIFY(!allowed(other));
        DecodeGuard::finish();
    }
    // So the next deaths tell the two apart.
    dieDecoding(notes, {killer, other});
    dieDecoding(notes, {killer, other});
    DecodeGuard::start(notes);
    QVERIFY(!allowed(killer));
    QVERIFY(allowed(other));
}

void DecodeGuardTest::livingInstanceIsNoDeath()
{
    DecodeGuard::start(notes);
    const DecodeGuard::Decoding inHand(killer);
    dieDecoding(notes, {other});
    dieDecoding(notes, {other});
    const QStringList files = QDir(notes).entryList({"*.journal"}, QDir::Files);
    QCOMPARE(files.size(), 2); // ours, and that of the last death
    QVERIFY(inHand);
}

void DecodeGuardTest::folderThatCannotBeWrittenMeansNoGuard()
{
    write(folder->filePath("a file"), "x");
    DecodeGuard::start(folder->filePath("a file"));
    QVERIFY(allowed(killer));
    write(notes + "/decoding-notes.json", "{ nonsense");
    DecodeGuard::start(notes);
    QVERIFY(allowed(killer));
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--die")
        die(arguments[2], arguments.mid(3));
    DecodeGuardTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "DecodeGuardTest.moc"
