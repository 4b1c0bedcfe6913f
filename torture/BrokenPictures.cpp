#include "batch/BatchRun.h"
#include "batch/ImagesToPDFAddUrlsThread.h"
#include "shared/image/ImageWriting.h"
#include "shared/VistamoGlobal.h"
#include "support/Program.h"

#include <QDirIterator>
#include <QImageWriter>
#include <QRandomGenerator>

#include <algorithm>
#include <cstdio>
#include <functional>

#ifdef __SANITIZE_ADDRESS__
constexpr int longestMs = 30000; ///< for one file
#else
#    include <sys/resource.h>
constexpr int longestMs = 5000;
#endif

/// Shows broken pictures, among whole ones, wherever the program shows pictures, and converts them.
///
///     BrokenPictures [SEED [COUNT [FOLDER...]]]
///
/// They are pictures of the folders, or else of the program's own making, that were damaged at random; those
/// of a folder named "broken" stay as they are, and come first. It ends with 1 if the program takes too long
/// over one or too much memory, or if a whole picture among them has no thumbnail. At a crash they are still
/// in the folder that it names.
namespace {

constexpr int filesOfRound = 24;
constexpr qint64 largestOriginal = 400 * 1024;
constexpr long mostMemory = 2L << 20; ///< KB
const QStringList wholeNames = {QStringLiteral("0000.png"), QStringLiteral("m.png"),
                                QStringLiteral("zzzz.png")};

[[noreturn]] void fail(const QString &what)
{
    std::printf("WRONG: %s\n", qPrintable(what));
    std::fflush(stdout);
    std::_Exit(1);
}

struct Original
{
    QString suffix;
    QByteArray content;
};

class BrokenPictures : public ProgramTest
{
public:
    BrokenPictures(quint32 seed, const QStringList &folders)
        : random(seed)
    {
        newFolder({"out"});
        std::printf("%s\n", qPrintable(folder->path()));
        for (const QString &folder : folders) {
            QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
            while (files.hasNext()) {
                const QFileInfo file(files.next());
                auto &list = file.path().endsWith(QLatin1String("/broken")) ? broken : originals;
                if (!VistamoGlobal().isImageFile(file.fileName()))
                    continue;
                if (&list == &broken || file.size() < largestOriginal)
                    list.append({file.suffix(), Files::read(file.filePath())});
            }
        }
        const QList<QByteArray> formats = QImageWriter::supportedImageFormats();
        for (const char *const format : {"jpg", "png", "gif", "bmp", "webp", "tif", "heic", "avif", "jxl"})
            if (formats.contains(format))
                originals.append({format, Pictures::encoded(Pictures::noise({90, 60}), format)});
        originals.append({"jpg", Pictures::progressiveJpeg(Pictures::quarters({300, 200}))});
    }

    void show(int count)
    {
        int shown = 0;
        while (shown < count || !broken.isEmpty()) {
            const QString folder = path("round");
            QDir().mkpath(folder);
            for (const QString &name : wholeNames)
                Pictures::save(folder + '/' + name);
            for (int i = 0; i < filesOfRound; ++i, ++shown) {
                const Original file = broken.isEmpty() ? damaged() : broken.takeLast();
                const QString path = QStringLiteral("%1/%2.%3").arg(folder).arg(shown).arg(file.suffix);
                Files::write(path, file.content);
                Pictures::age(path);
            }
            useRound(folder);
            QDir(folder).removeRecursively();
            QDir(path("out")).removeRecursively();
            std::printf("%d broken pictures\n", shown);
            std::fflush(stdout);
        }
    }

private:
    template <typename Number>
    int below(Number count)
    {
        return count < 1 ? 0 : random.bounded(static_cast<int>(count));
    }

    Original damaged()
    {
        Original file = originals[below(originals.size())];
        QByteArray &bytes = file.content;
        for (int i = below(4); i >= 0; --i) {
            // The beginning says the most.
            const int at = below(below(2) ? bytes.size() : std::min<qsizetype>(bytes.size(), 600));
            switch (below(5)) {
            case 0:
                for (int flips = below(20); flips >= 0; --flips)
                    bytes[below(bytes.size())] ^= static_cast<char>(1 << below(8));
                break;
            case 1:
                bytes.truncate(at);
                break;
            case 2:
                bytes.replace(at, 1 + below(4), QByteArray("\xff\xff\xff\xff").left(1 + below(4)));
                break;
            case 3: { // the head of one, the tail of another
                const QByteArray &other = originals[below(originals.size())].content;
                bytes = bytes.left(at) + other.mid(below(other.size()));
                break;
            }
            default:
                bytes.replace(at, 4, QByteArray("\x7f\xff\xff\xff", 4));
                break;
            }
            if (bytes.isEmpty())
                bytes = "x";
        }
        return file;
    }

    /// Waits for the condition, as long as `progress` changes every few seconds.
    void until(const char *what, const std::function<bool()> &condition,
               const std::function<qsizetype()> &progress)
    {
        QElapsedTimer since;
        since.start();
        for (qsizetype last = progress(); !condition();) {
            QTest::qWait(2);
            if (const qsizetype now = progress(); now != last) {
                last = now;
                since.start();
            }
            if (since.hasExpired(longestMs))
                fail(what);
        }
    }

    void useRound(const QString &folder)
    {
        Program::setFolders({folder}, QRect(0, 0, 900, 700));
        program = std::make_unique<Program>();
        const auto done = [] {
            const auto &records = VistamoGlobal::fileDataList;
            return std::count_if(records.cbegin(), records.cend(),
                                 [](const auto &record) { return record.imageRect != QRect(); });
        };
        until(
            "the list waits for a file", [&] { return program->rows() > 0 && program->settled(); }, done);
        for (const QString &name : wholeNames)
            if (VistamoGlobal::fileDataList[program->rowOf(name)].imageRect.isEmpty())
                fail(name + " has no thumbnail");

        const QStringList names = program->fileNames();
        program->open(0);
        for (const QString &name : names) {
            QElapsedTimer since;
            since.start();
            if (!QTest::qWaitFor([&] { return program->isOn(name); }, longestMs))
                fail("the viewer does not get to " + name);
            QTest::qWait(below(20));
            program->click("forwardButton");
        }
        const auto isShown = [&] { return program->shown({60, 40}) == "red green blue yellow"; };
        program->open(wholeNames.first());
        until("the viewer waits for a picture", isShown, [] { return 0; });
        program->click("closeButton");

        program->click("slideShowButton");
        QTest::qWait(300);
        if (auto *const show = program->window->findChild<QWidget *>("SlideShowForm"))
            QTest::keyClick(show, Qt::Key_Escape);

        program->click("showCheckboxButton");
        for (const QString &name : names)
            program->tick(name);
        whenDialog([](QWidget *dialog) {
            QTest::qWait(200); // for its icons
            dialog->close();
        });
        program->click("deleteButton");
        end();
        runBatches(folder);
        checkMemory();
    }

    void runBatches(const QString &folder)
    {
        ImagesToPDFAddUrlsThread list(128);
        list.addUrls({QUrl::fromLocalFile(folder)});
        list.start();
        if (!list.wait(QDeadlineTimer(longestMs * filesOfRound)))
            fail("the batch list waits for a file");

        QElapsedTimer since;
        QString last;
        const auto begins = [&](const QString &source) {
            if (since.isValid() && since.hasExpired(longestMs))
                fail("too long over " + last);
            since.start();
            last = source;
        };
        BatchRun run;
        for (const QString &name : QDir(folder).entryList(QDir::Files, QDir::Name))
            run.sourceFiles.append(folder + '/' + name);
        run.targetPath = path("out");
        QDir().mkpath(run.targetPath);
        const char *const formats[] = {"jpg", "png", "gif", "bmp", "webp", "tif", "heic", "avif", "jxl"};
        run.targetExtension = QLatin1Char('.') + QLatin1String(formats[below(std::size(formats))]);
        run.targetFormat = run.targetExtension.mid(1).toUpper();
        run.isConvertMode = 1;
        run.options.outputFolder = run.targetPath;
        run.options.pdfFileName = "a.pdf";
        static_cast<void>(convertImages(run, {begins, [] { return false; }}));
        since.invalidate();
        static_cast<void>(createPdf(run, {begins, [] { return false; }}));
        if (!QFileInfo::exists(path("out/a.pdf")) || !QFileInfo::exists(path("out/m") + run.targetExtension))
            fail("a batch gave nothing as " + run.targetExtension);
    }

    static void checkMemory()
    {
#ifndef __SANITIZE_ADDRESS__
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        if (usage.ru_maxrss > mostMemory)
            fail(QStringLiteral("%1 KB of memory").arg(usage.ru_maxrss));
#endif
    }

    QRandomGenerator random;
    QList<Original> originals;
    QList<Original> broken;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    const QStringList arguments = QApplication::arguments();
    const quint32 seed =
        arguments.size() > 1 ? arguments[1].toUInt() : QRandomGenerator::global()->generate();
    std::printf("Seed %u\n", seed);
    std::fflush(stdout);
    BrokenPictures(seed, arguments.mid(3)).show(arguments.size() > 2 ? arguments[2].toInt() : 240);
    if (StoppableThread::someLeftBehind)
        std::_Exit(0);
    return 0;
}
