#include "Measuring.h"

#include "library/TListView.h"
#include "shell/MainWindow.h"
#include "viewer/TImageLabel.h"

#include <QCoreApplication>
#include <QDir>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>

#include <algorithm>
#include <utility>

namespace {

/// Time of a plain read, milliseconds.
double plainRead(const QString &path)
{
    QElapsedTimer time;
    time.start();
    QImageReader(path).read();
    return milliseconds(time);
}

/// Everything that one event sets going, up to the pixels of the picture.
void showNow(const Program &program)
{
    QCoreApplication::sendPostedEvents();
    program.label.repaint();
}

using Times = QList<double>; // milliseconds

/// Some moves of the hand over the picture.
Times pan(const Program &program)
{
    Times times;
    QElapsedTimer time;
    emit program.label.startDragImage(QPoint());
    for (int i = 1; i <= 30; ++i) {
        time.restart();
        emit program.label.mouseMove(QPoint(-15 * i, -9 * i), QPoint());
        showNow(program);
        times.append(milliseconds(time));
    }
    emit program.label.endDragImage();
    return times;
}

/// Turns the wheel until the view has that scale, in percent.
Times zoom(const Program &program, int direction, double until)
{
    const auto *const percent = program.window.findChild<QLabel *>("percentResizeLabel");
    const auto shown = [&] { return percent->text().chopped(1).toDouble(); };
    Times times;
    QElapsedTimer time;
    while (direction > 0 ? shown() * 1.1 <= until : shown() > until) {
        time.restart();
        emit program.label.needToResizeImage(direction);
        showNow(program);
        times.append(milliseconds(time));
    }
    return times;
}

/// The longest step, each taken in every round: of its times the median counts.
double longestStep(const QList<Times> &rounds)
{
    double longest = 0;
    for (qsizetype step = 0; step < rounds.first().size(); ++step) {
        Times times;
        for (const Times &round : rounds)
            times.append(round.value(step));
        longest = std::max(longest, median(times));
    }
    return longest;
}

/// From 10% to 400% and back, with pans on the way, in several rounds.
void measureZoom(const Program &program)
{
    zoom(program, -1, 10);
    QList<Times> zooms;
    QList<Times> pans;
    for (int round = 0; round < 7; ++round) {
        zooms.append(Times());
        pans.append(Times());
        for (const double scale : {10, 25, 50, 100, 200, 400}) {
            zooms.last() += zoom(program, 1, scale);
            pans.last() += pan(program);
        }
        zooms.last() += zoom(program, -1, 10);
    }
    print("longest step of zooming, 10% to 400%", longestStep(zooms), "ms");
    print("longest step of panning, 10% to 400%", longestStep(pans), "ms");
}

/// How long the window does not answer when the smooth pass comes.
void measureSmoothPass(const Program &program)
{
    QList<double> times;
    for (int round = 0; round < 5; ++round) {
        program.call("on_fitVHButton_clicked");
        showNow(program);
        const AnswerWatch watch;
        runFor(1300);
        times.append(watch.longestMs());
    }
    print("smooth pass", median(times), "ms");
}

} // namespace

void measurePicture(const Program &program, const QString &path)
{
    const QModelIndex index = program.findInList(path);
    auto *const sizeLabel = program.window.findChild<QLabel *>("sizeInfoLabel");
    const double before = statusMegabytes("VmRSS");
    const QSize size = QImageReader(path).size();
    const double pictureMegabytes = 4.0 * size.width() * size.height() / (1024 * 1024);

    // In turn, so that both have the same machine; the median of each.
    QList<double> plain;
    QList<double> first;
    QList<double> full;
    QElapsedTimer time;
    for (int round = 0; round < 7; ++round) {
        plain.append(plainRead(path));
        sizeLabel->clear();
        time.restart();
        emit program.list.doubleClicked(index);
        program.label.repaint();
        first.append(milliseconds(time));
        full.append(waitFor(time, [&] { return !sizeLabel->text().isEmpty(); }));
        runFor(1500); // the smooth pass
    }
    print("plain read", median(plain), "ms");
    print("first sight", median(first), "ms");
    print("full picture", median(full), "ms");
    print("full picture, times a plain read", median(full) / median(plain), "");

    resetPeak();
    measureZoom(program);
    print("peak memory of zooming and panning, beyond the picture",
          statusMegabytes("VmHWM") - before - pictureMegabytes, "MB");
    measureSmoothPass(program);
}

void measureSteps(const Program &program, const QString &folder)
{
    const QDir dir(folder);
    const QStringList files = dir.entryList(QDir::Files, QDir::Name);
    // The list has an order of its own: round it, to end at the one photo of another size.
    const QModelIndex last = program.findInList(dir.filePath(files.last()));
    const QModelIndex first = last.siblingAtRow((last.row() + 1) % static_cast<int>(files.size()));
    const QSize size = QImageReader(dir.filePath(files.last())).size();
    const QString lastSize = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    auto *const sizeLabel = program.window.findChild<QLabel *>("sizeInfoLabel");
    const auto pressRight = [&] {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
        QCoreApplication::sendEvent(&program.window, &press);
    };
    QList<double> neighbour;
    QList<double> tenSteps;
    QList<double> tenReads;
    QElapsedTimer time;
    for (int round = 0; round < 5; ++round) {
        double reads = 0;
        for (const QString &file : files.mid(1))
            reads += plainRead(dir.filePath(file));
        tenReads.append(reads);

        program.openInViewer(first);
        runFor(1500); // the neighbour is decoded
        sizeLabel->clear();
        time.restart();
        pressRight();
        waitFor(time, [&] { return !sizeLabel->text().isEmpty(); });
        program.label.repaint();
        neighbour.append(milliseconds(time));

        program.openInViewer(first);
        time.restart();
        for (qsizetype step = 1; step < files.size(); ++step) {
            pressRight();
            runFor(12); // the keyboard's own pace is slower
        }
        waitFor(time, [&] { return sizeLabel->text() == lastSize; });
        program.label.repaint();
        tenSteps.append(milliseconds(time));
    }
    print("step to a prefetched neighbour", median(neighbour), "ms");
    print("ten plain reads", median(tenReads), "ms");
    print("ten quick steps", median(tenSteps), "ms");
    print("ten quick steps, times ten plain reads", median(tenSteps) / median(tenReads), "");
}
