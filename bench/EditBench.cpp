#include "Measuring.h"

#include "shell/MainWindow.h"
#include "viewer/TImageLabel.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <utility>

namespace {

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

} // namespace

void measureEdits(const Program &program, const QString &path)
{
    program.window.resize(1540, 1120);
    program.openInViewer(program.findInList(path));
    TImageLabel *const label = &program.label;
    QObject *const form = &program.form;
    QElapsedTimer time;

    const std::pair<const char *, const char *> edits[] = {
        {"rotate", "on_rotateRightButton_clicked"}, {"flip across", "on_flipHButton_clicked"},
        {"flip down", "on_flipVButton_clicked"},    {"sepia", "onSepiaAction"},
        {"grayscale", "onGrayscaleAction"},
    };
    for (const auto &[name, slot] : edits) {
        QList<double> times;
        for (int round = 0; round < 6; ++round) {
            time.restart();
            program.call(slot);
            label->repaint();
            times.append(milliseconds(time));
        }
        print(name, median(times), "ms");
    }

    program.call("onContrastAction");
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
        program.call("on_filterDialogApplyChanges");
        program.call("on_filterDialogCancelChanges");
        label->repaint();
        applied.append(milliseconds(time));
    }
    print("apply all four adjustments", median(applied), "ms");

    program.window.findChild<QAbstractButton *>("cropButton")->click();
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
            longest = std::max(longest, milliseconds(time));
        }
        emit label->endDragImage();
        print(QStringLiteral("longest move of a crop drag at %1%").arg(scale * 100), longest, "ms");
    }
}
