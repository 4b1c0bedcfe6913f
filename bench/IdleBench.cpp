#include "Measuring.h"

#include "library/TListView.h"
#include "shell/MainWindow.h"

#include <QAction>
#include <QApplication>
#include <QTimer>

#include <ctime>

namespace {

constexpr int settledMs = 3000; // the smooth pass, the end of the worker threads
constexpr int measuredMs = 10000;

/// Of the process; the clock of Microsoft's runtime goes on while it sleeps.
double processorMs()
{
    return std::clock() * 1e3 / CLOCKS_PER_SEC;
}

void measure(const QString &where)
{
    runFor(settledMs);
    const double before = processorMs();
    runFor(measuredMs);
    print("processor time in 10 s: " + where, processorMs() - before, "ms");
}

/// Measures while the window that `open` brings up is there; it may be modal.
void measureWindow(const QString &name, const std::function<void()> &open)
{
    QTimer::singleShot(500, qApp, [&] {
        QWidget *const window = QApplication::activeModalWidget();
        if (!window)
            qFatal("The window has not come up.");
        measure(name);
        window->close();
    });
    open();
    runFor(settledMs + measuredMs + 1000);
}

} // namespace

void measureIdle(const Program &program, const QString &folder)
{
    program.showFolder(folder);
    QElapsedTimer time;
    time.start();
    waitFor(time, [&] { return program.allIconsAreThere(); });
    measure("the list");
    measureWindow("options", [&] { program.call("on_optionsButton_clicked"); });
    measureWindow("about", [&] { program.call("on_aboutButton_clicked"); });
    program.list.setCurrentIndex(program.list.model()->index(0, 0));
    measureWindow("delete", [&] { program.call("on_deleteButton_clicked"); });
    program.openInViewer(program.list.model()->index(0, 0));
    measure("the viewer");
    program.call("onContrastAction");
    measure("the adjustments, untouched");
    program.call("on_closeButton_clicked");
    program.call("on_convertButton_clicked");
    measure("the batch tools");
}
