#include "batch/BatchRun.h"
#include "shared/image/ImageReading.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "support/Program.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>

#include <sys/resource.h>

/// Shows and converts more and larger pictures than there is memory for.
///
///     LowMemory [CONVERSIONS [FORMAT...]]
///
/// A folder of twenty pictures of 100 megapixels, in each format that can be written, and a conversion of so
/// many (40) photos of 48 megapixels to each target (or those named), in a process that may have 2 GB. It
/// ends with 1 if a thumbnail or a target is missing, but for what an encoder had no memory for and the debug
/// output names.
namespace {

constexpr rlim_t mostBytes = rlim_t(2) << 30;
constexpr int picturesShown = 20;
constexpr int longestMs = 1'200'000;

const QString makesOriginals = QStringLiteral("originals"); ///< the first argument of who makes them

int refusals = 0; ///< that the debug output has named

void listen(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString &message)
{
    if (message.startsWith(QLatin1String("Cannot write"))) // at most one thread too many counts one too few
        ++refusals;
    if (message.startsWith(QLatin1String("Cannot")))
        std::printf("%s\n", qPrintable(message));
}

/// With as much in it as in a photo.
QImage photo(QSize size)
{
    return Pictures::noise(size / 6).scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

class LowMemory : public ProgramTest
{
public:
    /// As long as there is no limit.
    explicit LowMemory(int conversions)
    {
        newFolder({"shown", "in", "out"});
        std::printf("%s\n", qPrintable(folder->path()));
        if (QProcess::execute(QCoreApplication::applicationFilePath(), {makesOriginals, folder->path()}) != 0)
            qFatal("The pictures cannot be made.");
        for (int i = 0; i < conversions; ++i)
            QFile::link(path("photo.jpg"), path(QStringLiteral("in/%1.jpg").arg(i)));
        const QStringList originals = disk(".").filter(QRegularExpression("^(0|large)\\."));
        for (int i = 0; i < picturesShown && !originals.isEmpty(); ++i) {
            const QString original = originals[i % originals.size()];
            const QString target =
                QStringLiteral("shown/%1 ").arg(i, 2, 10, QLatin1Char('0')) + original.toLower();
            QFile::link(path(original), path(target));
        }
    }

    /// In a process of its own: what its heap keeps would count against the limit.
    static void makeOriginals(const QString &folder)
    {
        Files::write(folder + "/photo.jpg", Pictures::encoded(photo({8000, 6000}), "jpg", 92));
        const QImage large = photo({11600, 8700});
        Files::write(folder + "/0.jpg", Pictures::progressiveJpeg(large));
        for (const char *const format : {"jpg", "png", "tif", "bmp", "webp", "heic", "avif", "jxl"})
            Files::write(folder + "/large." + QLatin1String(format), Pictures::encoded(large, format));
    }

    /// False if a picture has no thumbnail.
    bool show()
    {
        Program::setFolders({path("shown")}, QRect(0, 0, 900, 700));
        program = std::make_unique<Program>();
        const auto &records = VistamoGlobal::fileDataList;
        const auto done = [&](const auto &record) { return record.imageRect != QRect(); };
        QElapsedTimer time;
        time.start();
        const bool isEnded = QTest::qWaitFor(
            [&] {
                return records.size() == picturesShown && std::all_of(records.cbegin(), records.cend(), done);
            },
            longestMs);
        bool isWhole = isEnded;
        for (const auto &record : records) {
            if (record.imageRect.isEmpty())
                std::printf("WRONG: no thumbnail of %s\n", qPrintable(record.fileName));
            isWhole = isWhole && !record.imageRect.isEmpty();
        }
        std::printf("%d thumbnails: %lld s\n", int(records.size()), time.elapsed() / 1000);
        end();
        return isWhole;
    }

    /// False if a target is missing for which no refusal was named.
    bool convert(const QString &format)
    {
        BatchRun run;
        for (const QString &name : disk("in"))
            run.sourceFiles.append(path("in/" + name));
        run.targetPath = run.options.outputFolder = path("out");
        run.targetFormat = format.toUpper();
        run.targetExtension = '.' + format;
        run.isConvertMode = 1;
        refusals = 0;
        QElapsedTimer time;
        time.start();
        static_cast<void>(convertImages(run, {[](const QString &) {}, [] { return false; }}));
        const QStringList targets = disk("out");
        const bool isWhole = targets.size() + refusals >= run.sourceFiles.size();
        Platform::returnFreedMemory(); // as the thread of conversions does
        std::printf("%s%s: %d of %d written, %d refused, %lld s, %lld MB held afterwards\n",
                    isWhole ? "" : "WRONG: ", qPrintable(format), int(targets.size()),
                    int(run.sourceFiles.size()), refusals, time.elapsed() / 1000,
                    Platform::usedMemory() >> 20);
        std::fflush(stdout);
        for (const QString &target : targets)
            QFile::remove(path("out/" + target));
        return isWhole;
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    const QStringList arguments = QApplication::arguments();
    if (arguments.value(1) == makesOriginals) {
        LowMemory::makeOriginals(arguments.value(2));
        return 0;
    }
    LowMemory attack(arguments.size() > 1 ? arguments[1].toInt() : 40);
    QStringList formats = arguments.mid(2);
    if (formats.isEmpty())
        formats = {"jpg", "png", "gif", "bmp", "webp", "tif", "heic", "avif", "jxl"};
    const rlimit limit = {mostBytes, mostBytes};
    setrlimit(RLIMIT_DATA, &limit);
    ImageReading::setAllocationLimit();
    qInstallMessageHandler(listen);
    bool isWhole = attack.show();
    for (const QString &format : formats)
        isWhole = attack.convert(format) && isWhole;
    return isWhole ? 0 : 1;
}
