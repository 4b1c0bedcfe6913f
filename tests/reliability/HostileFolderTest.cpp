#include "batch/BatchRun.h"
#include "batch/FolderWalk.h"
#include "support/Program.h"

#include <filesystem>

#ifndef Q_OS_WIN
#    include <sys/socket.h>
#    include <sys/stat.h>
#    include <sys/un.h>

#    include <unistd.h>
#endif

/// A folder of names and things that somebody hostile, or a broken tool, has left there.
class HostileFolderTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"odd", "out"});
        makeOddNames();
        makeThingsThatAreNoFiles();
    }

    void cleanup()
    {
        end();
        std::filesystem::remove_all(folder->path().toStdU16String()); // Qt cannot
    }

    void everyPictureAndNothingElseIsShownConvertedAndMoved()
    {
        start({path("odd")}, static_cast<int>(pictures.size()));
        for (const TFileRecord &record : VistamoGlobal::fileDataList)
            QVERIFY2(!record.imageRect.isEmpty(), qPrintable(record.fileName));
        program->open(0);
        for (int row = 0; row < pictures.size(); ++row, program->click("forwardButton"))
            QTRY_VERIFY(program->isOn(program->fileNames()[row])
                        && program->shown({60, 40}) == QString("red green blue yellow"));
        program->click("closeButton");

        BatchRun run;
        walkFolder(path("odd"), [&run](const QString &file) {
            if (VistamoGlobal().isImageFile(file))
                run.sourceFiles.append(file);
            return true;
        });
        QCOMPARE(run.sourceFiles.size(), pictures.size());
        run.targetPath = run.options.outputFolder = path("out");
        run.targetFormat = "BMP";
        run.targetExtension = ".bmp";
        run.isConvertMode = 1;
        static_cast<void>(convertImages(run, {[](const QString &) {}, [] { return false; }}));
        for (const QString &name : pictures)
            QVERIFY2(!QImage(path("out/" + QFileInfo(name).baseName() + ".bmp")).isNull(), qPrintable(name));

        program->click("showCheckboxButton");
        settle(static_cast<int>(pictures.size()));
        for (const QString &name : pictures)
            program->tick(name);
        choosesFolder(path("out"), true);
        program->call("onMovetoAction");
        settle(0);
        for (const QString &name : pictures)
            QVERIFY2(!QImage(path("out/" + name)).isNull(), qPrintable(name));
    }

private:
    void add(const QString &name)
    {
        Pictures::save(path("odd/" + name), {60, 40});
        pictures.append(name);
    }

    /// Each sign that a name may hold, and names that no text can hold.
    void makeOddNames()
    {
        for (char16_t sign = 1; sign < 0x100; ++sign) {
            const QString name = QStringLiteral("%2a%1b.png").arg(QChar(sign)).arg(sign);
            if (sign != '/' && Files::possibleName(name) == name)
                add(name);
        }
        for (const char *const name : {"u\u0308.png", "\u202egnp.png", "\U0001f5bc.png", "%1%n$(id);&.png",
                                       "-rf.png", "~.png", "dots..png", "  .png"})
            add(QString::fromUtf8(name));
#ifndef Q_OS_WIN
        add(QString(251, 'x') + ".png");
        const QByteArray picture = Pictures::encoded(Pictures::quarters({60, 40}), "png");
        for (int byte = 0x80; byte < 0x100; ++byte) { // not UTF-8: of no list, and in nobody's way
            QFile file;
            const QByteArray name = QFile::encodeName(path("odd/a")) + static_cast<char>(byte) + ".png";
            FILE *const made = std::fopen(name.constData(), "wb");
            QVERIFY(made && file.open(made, QIODevice::WriteOnly, QFile::AutoCloseHandle));
            file.write(picture);
        }
#endif
    }

    void makeThingsThatAreNoFiles()
    {
        QVERIFY(QDir(path("odd")).mkpath("folder.png"));
        if (!Files::link("circle.png", path("odd/circle.png")))
            return;
        Files::link("there.png", path("odd/back.png"));
        Files::link("back.png", path("odd/there.png"));
        Files::link("nowhere", path("odd/nothing.png"));
        Files::link(path("odd"), path("odd/round"));
        Files::link(path("odd"), path("odd/round.png"));
#ifndef Q_OS_WIN
        for (const char *const device : {"zero", "null", "random", "tty", "full"})
            Files::link(QStringLiteral("/dev/") + device, path(QStringLiteral("odd/%1.png").arg(device)));
        QCOMPARE(mkfifo(QFile::encodeName(path("odd/pipe.png")).constData(), 0600), 0);
        sockaddr_un address = {AF_UNIX, {}};
        qstrncpy(address.sun_path, QFile::encodeName(path("odd/socket.png")).constData(),
                 sizeof(address.sun_path));
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        QCOMPARE(bind(socket, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
        ::close(socket);
#endif
    }

    QStringList pictures;
};

PROGRAM_TEST_MAIN(HostileFolderTest)
#include "HostileFolderTest.moc"
