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

/// The longest of some moves of the hand over the picture.
double longestPan(const Program &program)
{
    double longest = 0;
    QElapsedTimer time;
    emit program.label.startDragImage(QPoint());
    for (int i = 1; i <= 30; ++i) {
        time.restart();
        emit program.label.mouseMove(QPoint(-15 * i, -9 * i), QPoint());
        showNow(program);
        longest = std::max(longest, milliseconds(time));
    }
    emit program.label.endDragImage();
    return longest;
}

/// Wheel steps from 10% to 400% and back, with pans on the way.
void measureZoom(const Program &program, int fullWidth)
{
    double longestStep = 0;
    double pan = 0;
    QElapsedTimer time;
    const auto zoom = [&](int direction, double until) {
        while (direction > 0 ? program.label.width() < until * fullWidth
                             : program.label.width() > until * fullWidth) {
            const int width = program.label.width();
            time.restart();
            emit program.label.needToResizeImage(direction);
            showNow(program);
            longestStep = std::max(longestStep, milliseconds(time));
            if (program.label.width() == width)
                return;
        }
    };
    zoom(-1, 0.1);
    longestStep = 0;
    for (const double scale : {0.25, 0.5, 1.0, 2.0, 4.0}) {
        zoom(1, scale);
        pan = std::max(pan, longestPan(program));
    }
    zoom(-1, 0.25);
    print("longest step of zooming, 10% to 400%", longestStep, "ms");
    print("longest step of panning, 10% to 400%", pan, "ms");
}

/// The smooth pass, as the timer's last tick starts it.
void measureSmoothPass(const Program &program)
{
    QList<double> times;
    for (int round = 0; round < 5; ++round) {
        program.call("on_fitVHButton_clicked");
        showNow(program);
        QElapsedTimer time;
        for (int tick = 0; tick <= 10; ++tick) {
            time.restart();
            program.call("onLoadHighQualityTimer");
        }
        showNow(program);
        times.append(milliseconds(time));
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
    measureZoom(program, size.width());
    print("peak memory of zooming and panning, beyond the picture",
          statusMegabytes("VmHWM") - before - pictureMegabytes, "MB");
    measureSmoothPass(program);
}

void measureSteps(const Program &program, const QString &folder)
{
    const QDir dir(folder);
    const QStringList files = dir.entryList(QDir::Files, QDir::Name);
    const QModelIndex first = program.findInList(dir.filePath(files.first()));
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
        // The last of the ten is the only one of its size.
        const QSize last = QImageReader(dir.filePath(files.last())).size();
        const QString lastSize = QStringLiteral("%1x%2").arg(last.width()).arg(last.height());
        time.restart();
        for (qsizetype step = 1; step < files.size(); ++step) {
            pressRight();
            runFor(12); // the keyboard's own pace is slower
        }
        waitFor(time, [&] { return sizeLabel->text() == lastSize; });
        program.label.repaint();
        tenSteps.append(milliseconds(time));
    }
    print("step to a neighbour that was decoded ahead", median(neighbour), "ms");
    print("ten plain reads", median(tenReads), "ms");
    print("ten quick steps", median(tenSteps), "ms");
    print("ten quick steps, times ten plain reads", median(tenSteps) / median(tenReads), "");
}
