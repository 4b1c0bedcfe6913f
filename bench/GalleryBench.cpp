// Measures the program on inputs that `make-inputs` has prepared, and prints a row for each figure.
// `bench/run` calls it for every row of docs/performance.md.
//
//   gallery-bench folder DIR       a folder is shown: rows, thumbnails, memory, answering, scrolling
//   gallery-bench fling DIR        a folder is scrolled through at speed, with small and large thumbnails
//   gallery-bench growth DIR       150 files come into a folder on show, ten a second
//   gallery-bench leaving DIR      copies of a folder's photos, all ticked, are deleted and moved
//   gallery-bench change SLOW DIR  another folder is shown while pictures of 100 megapixels are decoded
//   gallery-bench start MS         the program, begun at MS of the steady clock, shows its last folder
//   gallery-bench window MS        the program, begun at MS of the steady clock, shows its window
//   gallery-bench picture FILE     a picture is opened in the viewer: first sight, full picture, zoom
//   gallery-bench steps DIR        arrow keys in the viewer; the last photo is the only one of its size
//   gallery-bench edit FILE        a picture is turned, filtered and cropped in the viewer
//   gallery-bench idle DIR         processor time while nothing happens
//   gallery-bench convert DIR [.SUFFIX [QUALITY [TO]]]
//                                  all photos of a folder are converted, to JPG of quality 80 unless told
//                                  otherwise, and kept only if a folder is named for them
//   gallery-bench pdf DIR [DPI [TO]]
//                                  all photos of a folder become one PDF, at 300 dots per inch
//   gallery-bench lookups          the thumbnail database, small and large
//   gallery-bench batchlist        rows of a long batch list are moved and removed
//   gallery-bench tones            pictures of high dynamic range are mapped to what screens show
//   gallery-bench decoding DIR     what thumbnails cost at the least
//
// The program has a home of its own: the first run in it is without stored thumbnails, a second one
// (--home DIR, the same) finds them in the database.

#include "Measuring.h"

#include "library/TListView.h"
#include "shared/image/ImageReading.h"
#include "shell/MainWindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>

namespace {

/// Settings and thumbnails of the run; must stand before Qt looks for them.
void setHome(const QString &home, bool keepsSettings)
{
    for (const char *const variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
        QDir().mkpath(home + '/' + variable);
        qputenv(variable, QFile::encodeName(home + '/' + variable));
    }
    if (!keepsSettings)
        QFile::remove(home + "/XDG_CONFIG_HOME/Orrelan/Vistamo.conf");
}

/// What needs no window. False if it is none of these.
bool measuredWithoutWindow(const QString &what, const QString &path, const QStringList &arguments)
{
    if (what == "convert")
        measureConversion(path, arguments.value(2, ".jpg"), arguments.value(3, "80").toInt(),
                          arguments.value(4));
    else if (what == "pdf")
        measurePdf(path, arguments.value(2, "300").toInt(), arguments.value(3));
    else if (what == "lookups")
        measureLookups();
    else if (what == "batchlist")
        measureBatchList();
    else if (what == "tones")
        measureToneMapping();
    else if (what == "decoding")
        measurePlainDecoding(path);
    else
        return false;
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir temporaryHome;
    QString home = temporaryHome.path();
    bool isStart = false;
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--home") == 0 && i + 1 < argc)
            home = QFile::decodeName(argv[i + 1]);
        isStart = isStart || qstrcmp(argv[i], "start") == 0;
    }
    setHome(home, isStart);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });

    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    ImageReading::setAllocationLimit();
    QCommandLineParser parser;
    parser.addOption({"home", "Where settings and thumbnails are kept.", "folder"});
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    const QString what = arguments.value(0);
    const QString path = QFileInfo(arguments.value(1)).absoluteFilePath();
    if (measuredWithoutWindow(what, path, arguments))
        return 0;

    MainWindow window;
    window.resize(1400, 900);
    window.show();
    const Program program(window);
    if (isStart) {
        measureStart(program, arguments.value(1).toLongLong());
        return 0;
    }
    if (what == "window") {
        measureWindow(program, arguments.value(1).toLongLong());
        return 0;
    }
    QCoreApplication::processEvents();
    if (what == "folder")
        measureFolder(program, path);
    else if (what == "fling")
        measureFling(program, path);
    else if (what == "growth")
        measureGrowth(program, path);
    else if (what == "leaving")
        measureLeaving(program, path);
    else if (what == "change")
        measureChangeOfFolder(program, path, QFileInfo(arguments.value(2)).absoluteFilePath());
    else if (what == "picture")
        measurePicture(program, path);
    else if (what == "steps")
        measureSteps(program, path);
    else if (what == "edit")
        measureEdits(program, path);
    else if (what == "idle")
        measureIdle(program, path);
    else
        return 2;
    return 0;
}
