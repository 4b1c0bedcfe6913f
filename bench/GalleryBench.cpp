// Measures the program on folders that `make-inputs` has prepared, and prints a row for each figure.
//
//   gallery-bench folder DIR     a folder is shown: rows, thumbnails, memory, answering
//   gallery-bench picture FILE   a picture is opened in the viewer: first sight, full picture, zoom
//   gallery-bench edit FILE      a picture is turned, filtered and cropped in the viewer
//   gallery-bench convert DIR    all photos of a folder are converted to JPG
//   gallery-bench pdf DIR        all photos of a folder become one PDF
//
// The program has a home of its own: the first run in it is without stored thumbnails, a second one
// (--home DIR, the same) finds them in the database.

#include "batch/ImagesToPDFConvertThread.h"
#include "shared/ImageReading.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"
#include "viewer/TImageLabel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QListView>
#include <QPixmap>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace {

QTextStream out(stdout);

void print(const QString &what, double value, const QString &unit)
{
    out << QStringLiteral("| %1 | %2 %3 |").arg(what, -48).arg(value, 10, 'f', 1).arg(unit) << Qt::endl;
}

/// A number of /proc/self/status in megabytes.
double statusMegabytes(const QByteArray &key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(key + ':'))
                return line.mid(key.size() + 1).trimmed().split(' ').first().toDouble() / 1024;
        }
    }
    return 0;
}

/// Asks the GUI thread every few milliseconds whether it answers, and keeps the longest wait.
class AnswerWatch
{
public:
    AnswerWatch()
        : asking([this] { ask(); })
    {
    }
    ~AnswerWatch()
    {
        stopped = true;
        asking.join();
    }
    double longestMs() const { return longest / 1e6; }

private:
    void ask()
    {
        while (!stopped) {
            QElapsedTimer asked;
            asked.start();
            const auto answered = std::make_shared<QSemaphore>();
            QMetaObject::invokeMethod(
                qApp, [=] { answered->release(); }, Qt::QueuedConnection);
            while (!answered->tryAcquire(1, 100) && !stopped) {
            }
            longest = std::max<qint64>(longest, asked.nsecsElapsed());
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    std::atomic_bool stopped = false;
    std::atomic<qint64> longest = 0;
    std::thread asking;
};

/// Runs the event loop until `done`, which is looked at every few milliseconds; milliseconds since `time`
/// began.
double waitFor(const QElapsedTimer &time, const std::function<bool()> &done)
{
    QEventLoop loop;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    looking.start(4);
    if (!done())
        loop.exec();
    return time.nsecsElapsed() / 1e6;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool answered(const TFileRecord &record)
{
    return record.imageRect != QRect();
}

/// True if every row in the list's viewport has had its answer.
bool screenIsComplete(const QListView &list)
{
    const auto &records = VistamoGlobal::fileDataList;
    for (int row = 0; row < records.size(); ++row) {
        if (list.visualRect(list.model()->index(row, 0)).top() > list.viewport()->height())
            return true;
        if (!answered(records[row]))
            return false;
    }
    return !records.isEmpty();
}

void measureFolder(MainWindow &window, const QString &folder)
{
    auto &list = *window.findChild<QListView *>("mainListView");
    const auto &records = VistamoGlobal::fileDataList;
    const int files = static_cast<int>(QDir(folder).entryList(QDir::Files).size());
    QObject *const form = window.findChild<QObject *>("ThumbsForm");
    const double before = statusMegabytes("VmRSS");

    QElapsedTimer time;
    time.start();
    QMetaObject::invokeMethod(form, "onAddFolder", Q_ARG(QString, folder));
    {
        const AnswerWatch watch;
        print("first rows", waitFor(time, [&] { return !records.isEmpty(); }), "ms");
        print("first screen of icons", waitFor(time, [&] { return screenIsComplete(list); }), "ms");
        print("all rows", waitFor(time, [&] { return records.size() >= files; }), "ms");
        qsizetype seen = 0;
        const double all = waitFor(time, [&] {
            while (seen < records.size() && answered(records[seen]))
                ++seen;
            return seen == records.size();
        });
        print("all icons", all, "ms");
        print("icons a second", 1000.0 * files / all, "");
        print("longest wait for the GUI thread", watch.longestMs(), "ms");
    }
    print("resident memory", statusMegabytes("VmRSS"), "MB");
    print("resident memory, added by the folder", statusMegabytes("VmRSS") - before, "MB");

    // One more file: the folder is read again.
    QFile added(folder + "/added by the benchmark.jpg");
    {
        const AnswerWatch watch;
        time.restart();
        if (added.open(QIODevice::WriteOnly)) {
            print("a file more, in the list", waitFor(time, [&] { return records.size() > files; }), "ms");
            print("longest wait for the GUI thread", watch.longestMs(), "ms");
            added.remove();
            waitFor(time, [&] { return records.size() == files; });
        }
    }

    time.restart();
    window.resize(window.width() - 150, window.height());
    QCoreApplication::processEvents();
    print("resize of the window", time.nsecsElapsed() / 1e6, "ms");
}

/// Shows the folder of a picture, waits for its thumbnails, and gives the picture's place in the list.
QModelIndex findInList(MainWindow &window, const QString &path)
{
    const QFileInfo info(path);
    QElapsedTimer time;
    QObject *const form = window.findChild<QObject *>("ThumbsForm");
    const auto &records = VistamoGlobal::fileDataList;
    QMetaObject::invokeMethod(form, "onAddFolder", Q_ARG(QString, info.path()));
    time.restart();
    waitFor(time, [&] {
        return !records.isEmpty() && !VistamoGlobal::vistamoLoadFolderThreadStat
               && std::all_of(records.cbegin(), records.cend(), answered);
    });
    const auto record = std::find_if(records.cbegin(), records.cend(),
                                     [&](const TFileRecord &r) { return r.fileName == info.fileName(); });
    auto &list = *window.findChild<QListView *>("mainListView");
    return list.model()->index(static_cast<int>(record - records.cbegin()), 0);
}

void measurePicture(MainWindow &window, const QString &path)
{
    QElapsedTimer time;
    const QModelIndex index = findInList(window, path);
    auto &list = *window.findChild<QListView *>("mainListView");
    auto *const label = window.findChild<TImageLabel *>("imageLabel");
    auto *const sizeLabel = window.findChild<QLabel *>("sizeInfoLabel");

    // In turn, so that both have the same machine; the median of each.
    QList<double> plain;
    QList<double> first;
    QList<double> full;
    for (int round = 0; round < 7; ++round) {
        time.restart();
        QImageReader(path).read();
        plain.append(time.nsecsElapsed() / 1e6);

        sizeLabel->clear();
        time.restart();
        emit list.doubleClicked(index);
        label->repaint();
        first.append(time.nsecsElapsed() / 1e6);
        full.append(waitFor(time, [&] { return !sizeLabel->text().isEmpty(); }));
        waitFor(time, [&] { return time.hasExpired(2000); }); // the smooth pass
    }
    print("plain read", median(plain), "ms");
    print("first sight", median(first), "ms");
    print("full picture", median(full), "ms");
    print("full picture, times a plain read", median(full) / median(plain), "");
    print("resident memory", statusMegabytes("VmRSS"), "MB");
    for (const int step : {1, -1}) {
        double longest = 0;
        for (int i = 0; i < 25; ++i) {
            time.restart();
            emit label->needToResizeImage(step);
            QCoreApplication::sendPostedEvents();
            label->repaint();
            longest = std::max(longest, time.nsecsElapsed() / 1e6);
        }
        print(step > 0 ? "longest step of zooming in" : "longest step of zooming out", longest, "ms");
    }
    print("resident memory after zooming", statusMegabytes("VmRSS"), "MB");
}

/// Counts the paint events of a widget.
class PaintCount : public QObject
{
public:
    explicit PaintCount(QWidget *widget) { widget->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

void measureEdits(MainWindow &window, const QString &path)
{
    QElapsedTimer time;
    window.resize(1540, 1120);
    const QModelIndex index = findInList(window, path);
    auto *const label = window.findChild<TImageLabel *>("imageLabel");
    auto *const sizeLabel = window.findChild<QLabel *>("sizeInfoLabel");
    QObject *const form = window.findChild<QObject *>("ThumbsForm");
    sizeLabel->clear();
    emit window.findChild<QListView *>("mainListView")->doubleClicked(index);
    time.restart();
    waitFor(time, [&] { return !sizeLabel->text().isEmpty(); });

    const std::pair<const char *, const char *> edits[] = {
        {"rotate", "on_rotateRightButton_clicked"}, {"flip across", "on_flipHButton_clicked"},
        {"flip down", "on_flipVButton_clicked"},    {"sepia", "onSepiaAction"},
        {"grayscale", "onGrayscaleAction"},
    };
    for (const auto &[name, slot] : edits) {
        QList<double> times;
        for (int round = 0; round < 6; ++round) {
            time.restart();
            QMetaObject::invokeMethod(form, slot);
            label->repaint();
            times.append(time.nsecsElapsed() / 1e6);
        }
        print(name, median(times), "ms");
    }

    QMetaObject::invokeMethod(form, "onContrastAction");
    PaintCount count(label);
    QList<double> draws;
    for (int value = 10; value < 40; ++value) {
        const int before = count.paints;
        time.restart();
        QMetaObject::invokeMethod(form, "on_setFilter", Q_ARG(int, value), Q_ARG(int, 20), Q_ARG(int, 150),
                                  Q_ARG(int, 30));
        draws.append(waitFor(time, [&] { return count.paints > before; }));
    }
    print(QStringLiteral("live draw at %1 pixels").arg(label->width()), median(draws), "ms");
    QList<double> applied;
    for (int round = 0; round < 6; ++round) {
        time.restart();
        QMetaObject::invokeMethod(form, "on_filterDialogApplyChanges");
        QMetaObject::invokeMethod(form, "on_filterDialogCancelChanges");
        label->repaint();
        applied.append(time.nsecsElapsed() / 1e6);
    }
    print("apply all four adjustments", median(applied), "ms");

    window.findChild<QAbstractButton *>("cropButton")->click();
    for (const double scale : {0.2, 1.0, 3.0}) {
        while (label->width() < scale * 6000)
            emit label->needToResizeImage(1);
        QCoreApplication::processEvents();
        // Whatever is under the pointer; a drag of the whole rectangle repaints most.
        emit label->mouseMove(QPoint(), label->rect().center());
        emit label->startDragImage(QPoint());
        double longest = 0;
        for (int i = 1; i < 40; ++i) {
            time.restart();
            emit label->mouseMove(QPoint(5 * i, 3 * i), label->rect().center() + QPoint(5 * i, 3 * i));
            QCoreApplication::sendPostedEvents();
            label->repaint();
            longest = std::max(longest, time.nsecsElapsed() / 1e6);
        }
        emit label->endDragImage();
        print(QStringLiteral("longest move of a crop drag at %1%").arg(scale * 100), longest, "ms");
    }
}

/// One run of a batch tool over all files of a folder.
void measureRun(const QString &folder, bool converts)
{
    const QTemporaryDir output;
    VistamoGlobal::outputFolder = output.path();
    VistamoGlobal::pdfFileName = "all.pdf";
    ImagesToPDFConvertThread thread;
    for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
        thread.sourceFiles.append(file.filePath());
    thread.targetPath = output.path() + (converts ? "" : "/all.pdf");
    thread.targetExtension = ".jpg";
    thread.isConvertMode = converts;
    qsizetype started = 0;
    QObject::connect(
        &thread, &ImagesToPDFConvertThread::updateFileName, &thread,
        [&] {
            if (++started == thread.sourceFiles.size() / 10)
                print("peak memory after a tenth", statusMegabytes("VmHWM"), "MB");
        },
        Qt::DirectConnection);
    QElapsedTimer time;
    time.start();
    thread.start();
    thread.wait();
    print("files", static_cast<double>(thread.sourceFiles.size()), "");
    print("time", time.elapsed() / 1e3, "s");
    print("peak memory", statusMegabytes("VmHWM"), "MB");
}

} // namespace

int main(int argc, char *argv[])
{
    // The home must stand before Qt looks for it.
    QTemporaryDir temporaryHome;
    QString home = temporaryHome.path();
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--home") == 0)
            home = QFile::decodeName(argv[i + 1]);
    }
    for (const char *const variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
        QDir().mkpath(home + '/' + variable);
        qputenv(variable, QFile::encodeName(home + '/' + variable));
    }
    QFile::remove(home + "/XDG_CONFIG_HOME/Orrelan/Vistamo.conf");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    ImageReading::setAllocationLimit();
    QCommandLineParser parser;
    parser.addOption({"home", "Where settings and thumbnails are kept.", "folder"});
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 2)
        return 2;

    if (arguments[0] == "convert" || arguments[0] == "pdf") {
        measureRun(QFileInfo(arguments[1]).absoluteFilePath(), arguments[0] == "convert");
        return 0;
    }
    MainWindow window;
    window.resize(1400, 900);
    window.show();
    QCoreApplication::processEvents();
    if (arguments[0] == "folder")
        measureFolder(window, QFileInfo(arguments[1]).absoluteFilePath());
    else if (arguments[0] == "edit")
        measureEdits(window, QFileInfo(arguments[1]).absoluteFilePath());
    else
        measurePicture(window, QFileInfo(arguments[1]).absoluteFilePath());
    return 0;
}
