#include "shared/Settings.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtSql>

#ifndef Q_OS_WIN
#    include <sys/resource.h>
#endif

/// Starts the program as a process of its own, ends it in every way, and looks at what it leaves.
class ProcessTest : public FolderTest
{
    Q_OBJECT

    using Process = std::unique_ptr<QProcess>;

private slots:
    void init()
    {
        newFolder({"photos"});
        programSettings().clear();
        QDir(data()).removeRecursively();
    }

    void endsAsByClosingWhenAsked()
    {
        Pictures::saveMany(path("photos"), 3);
        const Process program = started({path("photos")});
        QTRY_COMPARE(thumbnails(), 3);
        QVERIFY(end(*program));
        const QSettings kept = programSettings();
        QCOMPARE(kept.value("General/folderListCount").toInt(), 1);
        QVERIFY(kept.value("General/width").toInt() > 100);
        QCOMPARE(QDir(data()).entryList({"*.journal", "*-wal"}, QDir::Files), QStringList());
        // For the user alone.
        const QString settings = QFileInfo(kept.fileName()).path();
#ifdef Q_OS_WIN
        qWarning("Left out: permissions, which are those of the user's folder.");
#else
        constexpr auto ofOthers = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
        for (const QString &place : {settings, data()})
            QVERIFY(!(QFile::permissions(place) & ofOthers));
#endif
        // Nothing of the user's lies anywhere else.
        QDirIterator home(QDir::homePath(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (home.hasNext()) {
            const QString file = home.next();
            QVERIFY2(file.startsWith(data()) || file.startsWith(settings)
                         || !Files::read(file).contains(path("photos").toUtf8()),
                     qPrintable(file));
        }
    }

    void killedAtAnyMoment()
    {
        Pictures::saveMany(path("photos"), 60, QSize(800, 600));
        const QByteArray photo = read("photos/0000.jpg"); // which all are
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("Seed %u", seed);
        QRandomGenerator random(seed);
        for (int kills = qEnvironmentVariable("ORRELAN_KILLS", "8").toInt(); kills > 0; --kills) {
            const Process program = started({path("photos")});
            QTest::qWait(random.bounded(500));
            program->kill();
            QVERIFY(program->waitForFinished(patience));
            QVERIFY2(isWhole(), qPrintable(path("photos")));
        }
        // Nothing that was healthy is passed over for that.
        for (const QString &file : QDir(data()).entryList({"thumbnail.db*"}, QDir::Files)) // with its log
            QVERIFY(QFile::remove(data() + '/' + file));
        const Process program = started({path("photos")});
        QTRY_COMPARE(thumbnails(), 60);
        QVERIFY(end(*program));
        QCOMPARE(disk("photos").size(), 60);
        for (const QString &name : disk("photos"))
            QCOMPARE(read("photos/" + name), photo);
    }

    void pictureKillsItsDecoder_data()
    {
        QTest::addColumn<QByteArray>("how");
        QTest::addColumn<int>("mostDeaths");
        QTest::addColumn<int>("photos");
        QTest::newRow("aborts") << QByteArray("abort") << 2 << 6;
        QTest::newRow("writes where it may not") << QByteArray("crash") << 2 << 6;
#ifdef Q_OS_WIN
        qWarning("Left out: limits of memory, which Wine does not keep.");
#elif !defined(__SANITIZE_ADDRESS__) // which maps more than any limit
        QTest::newRow("eats all memory") << QByteArray("eat all") << 0 << 6;
        // So many that others are in decoding whenever it happens.
        QTest::newRow("is killed for it") << QByteArray("eat most") << 2 << 2000;
#endif
        QTest::newRow("never returns") << QByteArray("loop") << 0 << 6;
    }

    void pictureKillsItsDecoder()
    {
        QFETCH(QByteArray, how);
        QFETCH(int, mostDeaths);
        QFETCH(int, photos);
        Pictures::saveMany(path("photos"), photos, QSize(800, 600));
        if (how == "abort" || how == "crash")
            write("photos/0001.png", "DEADLY late"); // is in decoding meanwhile
        write("photos/0002.png", "DEADLY " + how);
        for (const char *const name : {"photos/0001.png", "photos/0002.png"})
            Pictures::age(path(name));
        int deaths = -1;
        Process program;
        do {
            program = started({path("photos")}, DEADLY_PLUGINS);
            const auto died = [&] { return program->state() == QProcess::NotRunning; };
            QTRY_VERIFY(died() || thumbnails() == photos);
            (void)QTest::qWaitFor(died, 1500); // a killer in the last place
            ++deaths;
        } while (!end(*program) && deaths < mostDeaths + 1);
        QVERIFY2(deaths <= mostDeaths && (deaths > 0) == (mostDeaths > 0),
                 qPrintable(QString::number(deaths)));
        QCOMPARE(thumbnails(), photos);
    }

private:
    static QString data()
    {
        return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Thumbnails";
    }

    static Process started(const QStringList &arguments, const QString &pluginPath = {})
    {
        auto program = std::make_unique<QProcess>();
        if (!pluginPath.isEmpty()) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert("QT_PLUGIN_PATH",
                               pluginPath + QDir::listSeparator() + environment.value("QT_PLUGIN_PATH"));
            program->setProcessEnvironment(environment);
#ifndef Q_OS_WIN
            program->setChildProcessModifier([] {
#    ifndef __SANITIZE_ADDRESS__
                const rlimit memory = {rlim_t(2) << 30, rlim_t(2) << 30};
                setrlimit(RLIMIT_DATA, &memory);
#    endif
                const rlimit noCore = {0, 0};
                setrlimit(RLIMIT_CORE, &noCore);
            });
#endif
        }
        program->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program->start(PROGRAM, arguments);
        return program;
    }

    /// Asks the program to end. True if it did so by itself.
    static bool end(QProcess &program)
    {
        program.terminate();
        return program.waitForFinished(patience) && program.exitStatus() == QProcess::NormalExit
               && program.exitCode() == 0;
    }

    /// The first value that a statement gives of the program's database; none if it cannot be run.
    static QVariant ask(const QString &statement)
    {
        QVariant value;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "look");
            db.setDatabaseName(data() + "/thumbnail.db");
            if (QFile::exists(db.databaseName()) && db.open())
                if (QSqlQuery query(db); query.exec(statement) && query.next())
                    value = query.value(0);
        }
        QSqlDatabase::removeDatabase("look");
        return value;
    }
    static int thumbnails()
    {
        return ask("SELECT COUNT(DISTINCT fullPath) FROM FileData").toInt();
    }
    static bool isWhole()
    {
        return !QFile::exists(data() + "/thumbnail.db") || ask("PRAGMA integrity_check").toString() == "ok";
    }
};

QTEST_GUILESS_MAIN(ProcessTest)
#include "ProcessTest.moc"
