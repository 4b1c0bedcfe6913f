#include "Measuring.h"

#include "library/TListView.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScrollBar>
#include <QThread>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>

namespace {

bool answered(const TFileRecord &record)
{
    return record.imageRect != QRect();
}

/// Follows the answers in the order of the rows; cheap, since it goes on where it was the last time.
class AnswersSeen
{
public:
    explicit AnswersSeen(const TListView &list)
        : list(list)
    {
    }

    /// True if every row has had its answer.
    bool isComplete()
    {
        const auto &records = VistamoGlobal::fileDataList;
        while (seen < records.size() && answered(records[seen]))
            ++seen;
        return seen > 0 && seen == records.size();
    }

    /// True if every row in the list's viewport has had its answer.
    bool isScreenComplete()
    {
        const qsizetype before = seen;
        if (isComplete())
            return true;
        return seen > before
               && list.visualRect(list.model()->index(int(seen), 0)).top() > list.viewport()->height();
    }

private:
    const TListView &list;
    qsizetype seen = 0;
};

/// Looks at every row of the list, a page at a time.
void scrollThroughAll(const TListView &list)
{
    QScrollBar &bar = *list.verticalScrollBar();
    double longest = 0;
    QElapsedTimer step;
    for (int value = 0; value < bar.maximum(); value += bar.pageStep()) {
        step.restart();
        bar.setValue(value);
        QCoreApplication::processEvents();
        longest = std::max(longest, milliseconds(step));
    }
    print("longest page of scrolling through all", longest, "ms");
    print("resident memory after scrolling through all", statusMegabytes("VmRSS"), "MB");
    bar.setValue(0);
}

/// Makes steps as a screen of 60 pictures a second wants them, and prints the times from each to its pixels.
/// What comes from the background between two steps is painted within the later one's time.
void measureFrames(const TListView &list, const QString &what, int steps,
                   const std::function<void(int step)> &make)
{
    constexpr double frameMs = 1000.0 / 60;
    QList<double> frames;
    QList<double> processorTimes; // of the GUI thread, which others on the machine do not lengthen
    QElapsedTimer time;
    for (int step = 0; step < steps; ++step) {
        time.restart();
        const double before = Platform::threadProcessorTime();
        make(step);
        QCoreApplication::processEvents();
        list.viewport()->repaint();
        processorTimes.append(Platform::threadProcessorTime() - before);
        frames.append(milliseconds(time));
        if (frames.last() < frameMs)
            QThread::usleep(static_cast<unsigned long>((frameMs - frames.last()) * 1000));
    }
    for (QList<double> *const times : {&frames, &processorTimes}) {
        std::sort(times->begin(), times->end());
        const QString of = times == &frames ? what : what + ", processor time of the GUI thread";
        print(of + ": longest frame", times->last(), "ms");
        print(of + ": 99th percentile", (*times)[times->size() * 99 / 100], "ms");
    }
}

void measureResizes(MainWindow &window)
{
    double longest = 0;
    QElapsedTimer time;
    const QSize size = window.size();
    for (int less = 30; less <= 300; less += 30) {
        time.restart();
        window.resize(size.width() - less, size.height());
        QCoreApplication::processEvents();
        longest = std::max(longest, milliseconds(time));
    }
    print("longest resize of the window", longest, "ms");
    window.resize(size);
}

/// Presses plus and minus in turn; until the list has its new layout and shows it.
void measureIconSizes(const Program &program)
{
    constexpr int presses = 6;
    double longest = 0;
    const qint64 used = Platform::processorTime();
    QElapsedTimer time;
    for (int press = 0; press < presses; ++press) {
        time.restart();
        program.call(press % 2 == 0 ? "on_plusButton_clicked" : "on_minButton_clicked");
        program.list.viewport()->repaint();
        QCoreApplication::processEvents();
        longest = std::max(longest, milliseconds(time));
    }
    print("longest press of plus or minus", longest, "ms");
    print("processor time of a press", static_cast<double>(Platform::processorTime() - used) / presses, "ms");
}

} // namespace

void measureFolder(const Program &program, const QString &folder)
{
    const auto &records = VistamoGlobal::fileDataList;
    QFile added(folder + "/added by the benchmark.jpg");
    added.remove(); // a run that was cut off left it
    const int files = static_cast<int>(QDir(folder).entryList(QDir::Files).size());
    AnswersSeen seen(program.list);
    QElapsedTimer time;
    {
        const AnswerWatch watch;
        time.start();
        QTimer::singleShot(0, qApp, [&] { program.showFolder(folder); });
        print("first rows", waitFor(time, [&] { return !records.isEmpty(); }), "ms");
        waitFor(time, [&] { return seen.isScreenComplete(); });
        program.paintScreen();
        print("first screen of icons", milliseconds(time), "ms");
        print("all rows", waitFor(time, [&] { return records.size() >= files; }), "ms");
        print("all icons", waitFor(time, [&] { return seen.isComplete(); }), "ms");
        print("processor time from the start to all icons", static_cast<double>(Platform::processorTime()),
              "ms");
        print("longest wait for the GUI thread", watch.longestMs(), "ms");
    }
    if (std::any_of(records.cbegin(), records.cend(), [](const auto &r) { return r.imageRect.isEmpty(); }))
        qFatal("A photo has no thumbnail.");
    print("resident memory", statusMegabytes("VmRSS"), "MB");
    print("peak of the resident memory", statusMegabytes("VmHWM"), "MB");

    if (files > 100'000) // to look at each page takes minutes
        return;

    // One more file: the folder is read again.
    {
        const AnswerWatch watch;
        time.restart();
        if (added.open(QIODevice::WriteOnly)) {
            print("a file more, in the list", waitFor(time, [&] { return records.size() > files; }), "ms");
            added.remove();
            waitFor(time, [&] { return records.size() == files; });
            print("longest wait with a file more, and less", watch.longestMs(), "ms");
        }
    }
    measureResizes(program.window);
    measureIconSizes(program);
    scrollThroughAll(program.list);
}

void measureFling(const Program &program, const QString &folder)
{
    QElapsedTimer time;
    time.start();
    program.showFolder(folder);
    waitFor(time, [&] { return program.allIconsAreThere(); });
    TListView &list = program.list;
    QScrollBar &bar = *list.verticalScrollBar();
    for (const QString size : {"small", "large"}) {
        if (size == "large")
            program.call("on_plusButton_clicked");
        bar.setValue(0);
        runFor(1000);
        measureFrames(list, size + " thumbnails, scroll bar", 600,
                      [&](int step) { bar.setValue(static_cast<int>(step * qint64(bar.maximum()) / 600)); });
        bar.setValue(0);
        runFor(1000);
        const QPointF middle = list.viewport()->rect().center();
        measureFrames(list, size + " thumbnails, wheel", 600, [&](int) {
            QWheelEvent turn(middle, list.viewport()->mapToGlobal(middle), {}, {0, -360}, Qt::NoButton,
                             Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(list.viewport(), &turn);
        });
    }
    program.call("on_minButton_clicked");
}

void measureGrowth(const Program &program, const QString &folder)
{
    constexpr int more = 150;
    constexpr int everyMs = 100;
    const auto &records = VistamoGlobal::fileDataList;
    const auto added = [&](int number) {
        return QStringLiteral("%1/IMG_%2 added.jpg").arg(folder).arg(number * 300, 6, 10, QLatin1Char('0'));
    };
    for (int number = 0; number < more; ++number)
        QFile::remove(added(number)); // a run that was cut off left it
    const int files = static_cast<int>(QDir(folder).entryList(QDir::Files).size());
    QElapsedTimer time;
    time.start();
    program.showFolder(folder);
    waitFor(time, [&] { return records.size() == files && program.allIconsAreThere(); });
    runFor(2500);

    QHash<QString, qint64> writtenAt; // by their names, of those that are not in the list yet
    double longest = 0;
    int written = 0;
    qsizetype fewest = files;
    const AnswerWatch watch;
    const qint64 processorTime = Platform::processorTime();
    time.restart();
    QTimer writing;
    QObject::connect(&writing, &QTimer::timeout, qApp, [&] {
        if (written == more)
            return;
        const QString path = added(written++);
        writtenAt.insert(QFileInfo(path).fileName(), time.elapsed());
        if (!QFile::copy(records.first().fullPath, path))
            qFatal("A file could not be added.");
    });
    writing.start(everyMs);
    waitFor(time, [&] {
        fewest = std::min(fewest, records.size());
        if (records.size() == files + written - writtenAt.size())
            return written == more && writtenAt.isEmpty();
        writtenAt.removeIf([&](const std::pair<const QString &, qint64 &> &file) {
            const auto place = std::lower_bound(
                records.cbegin(), records.cend(), file.first,
                [](const TFileRecord &record, const QString &name) { return record.fileName < name; });
            const bool isThere = place != records.cend() && place->fileName == file.first;
            if (isThere)
                longest = std::max(longest, static_cast<double>(time.elapsed() - file.second));
            return isThere;
        });
        return false;
    });
    if (!std::is_sorted(records.cbegin(), records.cend(),
                        [](const auto &a, const auto &b) { return a.fileName < b.fileName; }))
        qFatal("A file is out of its place.");
    print("a folder that grows: processor time a file",
          static_cast<double>(Platform::processorTime() - processorTime) / more, "ms");
    print("a folder that grows: fewest rows, of those before", static_cast<double>(fewest) / files, "");
    print("a folder that grows: longest until a file is in its place", longest, "ms");
    print("a folder that grows: longest wait for the GUI thread", watch.longestMs(), "ms");
    for (int number = 0; number < more; ++number)
        QFile::remove(added(number));
    waitFor(time, [&] { return records.size() == files; });
}

void measureChangeOfFolder(const Program &program, const QString &slowFolder, const QString &other)
{
    const auto &records = VistamoGlobal::fileDataList;
    QElapsedTimer time;
    time.start();
    program.showFolder(other); // so that its thumbnails and the system's caches are there
    waitFor(time, [&] { return program.allIconsAreThere(); });

    QList<double> clicks;
    QList<double> rows;
    for (int round = 0; round < 7; ++round) {
        program.showFolder(slowFolder);
        waitFor(time, [&] { return !records.isEmpty() && records.first().path == slowFolder; });
        runFor(150); // its pictures are being decoded now
        time.restart();
        program.showFolder(other);
        clicks.append(milliseconds(time));
        rows.append(waitFor(time, [&] { return !records.isEmpty() && records.first().path == other; }));
        runFor(1500); // what was in flight has ended, and is not decoded again
    }
    print("change of folder while a slow decode runs: click", median(clicks), "ms");
    print("change of folder while a slow decode runs: first rows", median(rows), "ms");
}

void measureWindow(const Program &program, qint64 startedMs)
{
    QElapsedTimer now;
    now.start();
    const qint64 before = now.msecsSinceReference() - startedMs;
    waitFor(now, [&] { return program.window.windowHandle()->isExposed(); });
    program.window.repaint();
    print("start of the program to its window", static_cast<double>(before) + milliseconds(now), "ms");
}

void measureStart(const Program &program, qint64 startedMs)
{
    QElapsedTimer now;
    now.start();
    const qint64 before = now.msecsSinceReference() - startedMs;
    AnswersSeen seen(program.list);
    waitFor(now, [&] { return seen.isScreenComplete(); });
    program.paintScreen();
    print("start of the program to the first screen", static_cast<double>(before) + milliseconds(now), "ms");
    waitFor(now, [&] { return program.allIconsAreThere(); });
}
