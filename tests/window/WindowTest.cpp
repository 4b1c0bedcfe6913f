#include "support/Program.h"

#include <QtTest>
#include <QtWidgets>

namespace {

/// Lets xdotool do something with the real pointer and keyboard, while the program answers.
void xdo(const QStringList &arguments)
{
    QProcess process;
    process.start("xdotool", arguments);
    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 20000);
    QCOMPARE(process.exitCode(), 0);
}

/// Not with --sync, which waits long where the pointer is there already.
QStringList moveTo(QPoint point)
{
    return {"mousemove", QString::number(point.x()), QString::number(point.y()), "sleep", "0.05"};
}

void click(QPoint point, int times = 1)
{
    xdo(moveTo(point) + QStringList{"click", "--repeat", QString::number(times), "--delay", "60", "1"});
}

/// A drag in several steps, as a hand does it.
void drag(QPoint from, QPoint to)
{
    QStringList arguments = moveTo(from) + QStringList{"mousedown", "1", "sleep", "0.15"};
    for (int step = 1; step <= 8; ++step)
        arguments += moveTo(from + (to - from) * step / 8);
    xdo(arguments + QStringList{"sleep", "0.2", "mouseup", "1"});
}

QPoint middle(const QWidget *widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

QPoint middle(const QAbstractItemView *view, int row)
{
    return view->viewport()->mapToGlobal(view->visualRect(view->model()->index(row, 0)).center());
}

/// Offers a path to other windows, as a file manager does.
class DragSource : public QLabel
{
public:
    explicit DragSource(const QString &path)
        : path(path)
    {
        setText("drag me");
        setGeometry(1100, 20, 150, 60);
        show();
    }

protected:
    void mousePressEvent(QMouseEvent *) override {}
    void mouseMoveEvent(QMouseEvent *) override
    {
        auto *const data = new QMimeData;
        data->setUrls({QUrl::fromLocalFile(path)});
        auto *const drag = new QDrag(this);
        drag->setMimeData(data);
        drag->exec(Qt::CopyAction | Qt::LinkAction | Qt::MoveAction, Qt::CopyAction);
    }

private:
    const QString path;
};

} // namespace

/// The program in a real window, with a window manager, a pointer and a keyboard.
class WindowTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        QApplication::setStyle("Fusion");
        newFolder({"first", "second", "third"});
        Pictures::saveMany(path("first"), 6, QSize(1500, 1000));
        Pictures::saveMany(path("second"), 3);
    }

    void cleanup() { end(); }
    void droppedFolderIsAdded()
    {
        start({}, 0);
        drop(path("first"), "noItemFrame");
        QTRY_COMPARE(program->tree(), QStringList("first"));
        drop(path("second"), "mainListView");
        QTRY_COMPARE(program->tree(), QStringList({"second", "first"}));
        QTRY_COMPARE(program->rows(), 3);
        drop("/etc/passwd", "mainListView"); // no image: refused
        QVERIFY(program->find("widget1")->isVisible());

        // A picture is opened at once, and its folder is known already.
        drop(path("first/0004.jpg"), "sideTreeView");
        QTRY_VERIFY(program->find("widget2")->isVisible());
        QTRY_COMPARE(text("sizeInfoLabel"), "1500x1000");
        QCOMPARE(program->tree(), QStringList({"second", "first"}));
    }

    void batchListIsFilledByDroppingAndOrderedByDragging()
    {
        VistamoGlobal::showPdfAndConvertButtons = true;
        start({path("first")}, 6);
        click(middle(program->find("pdfButton")));
        const QWidget *const form = program->find("ImagesToPDFForm");
        const auto *const view = form->findChild<QTreeView *>("sourceTreeView");
        drop("/etc/passwd", form->findChild<QWidget *>("noItemFrame")); // no image: refused
        drop(path("second"), form->findChild<QWidget *>("noItemFrame"));
        QTRY_VERIFY(view->isVisible());
        QCOMPARE(view->model()->rowCount(), 3);
        drop(path("first"), view); // a list that is filled takes nothing
        const auto names = [&] {
            QString names;
            for (int row = 0; row < view->model()->rowCount(); ++row)
                names += view->model()->index(row, 0).data().toString().section('.', 0, 0).last(1);
            return names;
        };
        const QString before = names();
        QCOMPARE(before.size(), 3);
        const QPoint between =
            middle(view, 0) - QPoint(0, view->visualRect(view->model()->index(0, 0)).height() / 2 - 1);
        click(middle(view, 2));
        drag(middle(view, 2), between);
        QTRY_COMPARE(names(), before.last(1) + before.first(2));
        drag(middle(view, 0), middle(view, 1));                  // onto a row: nothing
        drag(middle(view, 0), middle(view, 2) + QPoint(0, 150)); // onto no row: nothing
        QCOMPARE(names(), before.last(1) + before.first(2));
    }

    void folderIsMovedByDragging()
    {
        start({path("first"), path("second"), path("third")}, 6);
        auto *const view = program->find<QAbstractItemView>("sideTreeView");
        const QPoint toEdge(0, view->visualRect(view->model()->index(0, 0)).height() / 2 - 1);
        drag(middle(view, 1), middle(view, 0) - toEdge);
        QTRY_COMPARE(program->tree(), QStringList({"second", "first", "third"}));
        QTRY_COMPARE(program->rows(), 3); // the moved folder is on show
        drag(middle(view, 0), view->viewport()->mapToGlobal(QPoint(80, 300)));
        QTRY_COMPARE(program->tree(), QStringList({"first", "third", "second"}));
        drag(middle(view, 0), middle(view, 1) + toEdge);
        QTRY_COMPARE(program->tree(), QStringList({"third", "first", "second"}));
        drag(middle(view, 2), middle(view, 0) + toEdge);
        QTRY_COMPARE(program->tree(), QStringList({"third", "second", "first"}));
        drag(middle(view, 2), middle(view, 0)); // onto a folder: in its place
        QTRY_COMPARE(program->tree(), QStringList({"first", "third", "second"}));
    }

    void ticksAreFoundAgain()
    {
        start({path("first"), path("second")}, 6);
        const auto box = [&](int row) {
            const QRect item = program->list()->visualRect(program->list()->model()->index(row, 0));
            return program->list()->viewport()->mapToGlobal(QPoint(item.left() + 9, item.center().y()));
        };
        click(box(1));
        click(box(4));
        QTRY_COMPARE(VistamoGlobal::checkedItemList.size(), 2);
        QVERIFY(program->find("deleteButton")->isEnabled());

        auto *const view = program->find<QAbstractItemView>("sideTreeView");
        click(middle(view, 1));
        QTRY_VERIFY(program->settled() && program->rows() == 3);
        QVERIFY(program->find("deleteButton")->isEnabled()); // for what is ticked elsewhere
        click(middle(program->find("hideCheckboxButton")));
        click(middle(program->find("showCheckboxButton")));
        click(middle(view, 0));
        QTRY_VERIFY(program->settled() && program->rows() == 6);
        for (int row = 0; row < 6; ++row) {
            const bool ticked =
                program->list()->model()->index(row, 0).data(Qt::CheckStateRole).toInt() == Qt::Checked;
            QCOMPARE(ticked, row == 1 || row == 4);
        }
        click(box(1));
        QTRY_COMPARE(VistamoGlobal::checkedItemList.size(), 1);
    }

    void pictureIsViewed()
    {
        start({path("first")}, 6);
        const auto title = [&] { return program->window->windowTitle(); };
        const auto titleOf = [&](int row) {
            return "Orrelan Gallery-" + VistamoGlobal::fileDataList[row].fullPath;
        };
        click(middle(program->list(), 2), 2);
        QTRY_COMPARE(title(), titleOf(2));
        QTRY_COMPARE(text("sizeInfoLabel"), "1500x1000");
        xdo({"key", "Right"});
        QTRY_COMPARE(title(), titleOf(3));
        xdo({"key", "--delay", "60", "Left", "Left"});
        QTRY_COMPARE(title(), titleOf(1));
        const auto *const strip = program->find<QAbstractItemView>("galleryTableView");
        QCOMPARE(strip->currentIndex().column(), 1);
        click(strip->viewport()->mapToGlobal(strip->visualRect(strip->model()->index(0, 5)).center()));
        QTRY_COMPARE(title(), titleOf(5));
        QTest::qWait(300); // until the picture itself is up

        // The wheel zooms, a drag moves the picture.
        const QPoint centre = middle(program->find("scrollArea"));
        const double fitted = program->scale();
        xdo(moveTo(centre) + QStringList{"click", "--repeat", "8", "--delay", "40", "4"});
        QTRY_VERIFY2(program->scale() > 2 * fitted, qPrintable(text("percentResizeLabel")));
        const QScrollBar *const bar = program->find<QScrollArea>("scrollArea")->verticalScrollBar();
        QCOMPARE(bar->value(), 0); // a zoom leaves the scroll bars where they are
        drag(centre, centre - QPoint(40, 90));
        QTRY_COMPARE(bar->value(), 90);
        xdo({"click", "5"});
        QTRY_VERIFY(program->scale() < 2 * fitted);

        click(middle(program->find("closeButton")));
        QTRY_COMPARE(title(), "Orrelan Gallery");
    }

    void pictureIsEditedAndExported()
    {
        Pictures::save(path("third/quarters.png"), QSize(900, 600));
        openOnly("third");
        const auto colour = [&] {
            auto *const label = program->find<QLabel>("imageLabel");
            return label->grab().toImage().pixelColor(label->rect().center() - QPoint(60, 60));
        };
        const QColor before = colour();
        for (int entry = 1; entry <= 6; ++entry) {
            choose("adjustButton", entry);
            if (entry <= 2) { // grayscale and sepia
                QTRY_VERIFY(colour() != before);
                QCOMPARE(colour().saturation() == 0, entry == 1);
            } else {
                const auto *const dialog = program->window->findChild<QDialog *>("VistamoFilterDialog");
                QTRY_VERIFY(dialog && dialog->isVisible());
                auto *const slider = dialog->findChild<QSlider *>("brightnessSlider");
                QVERIFY(QTest::qWaitForWindowActive(dialog->windowHandle()));
                click(slider->mapToGlobal(QPoint(slider->width() - 4, slider->height() / 2)));
                QTRY_VERIFY(colour() != before);
                click(middle(dialog->findChild<QPushButton *>(entry == 6 ? "applyButton" : "cancelButton")));
                QTRY_VERIFY(!dialog->isVisible());
                QTRY_COMPARE(colour() == before, entry != 6);
            }
            if (colour() != before)
                choose("adjustButton", 7); // reset
            QTRY_COMPARE(colour(), before);
        }

        // Each button, then what the file says to another decoder.
        for (const char *const button : {"rotateLeftButton", "flipHButton", "flipVButton", "flipHButton"})
            click(middle(program->find(button)));
        for (const char *const name : {"turned.png", "turned.jpg", "turned.tiff"}) {
            const QString file = path(name);
            choose("exportButton", 1,
                   {"sleep", "0.8", "key", "ctrl+a", "type", "--args", "1", file, "key", "Return"});
            QTRY_VERIFY(QFile::exists(file));
            QProcess compare;
            compare.start("bash",
                          {"-c", R"(convert "$1" -rotate -90 -flip png:- | compare -metric MAE - "$2" null:)",
                           "bash", path("third/quarters.png"), file});
            QVERIFY(compare.waitForFinished());
            const QByteArray difference = compare.readAllStandardError();
            QVERIFY2(difference.split(' ').first().toDouble() < (file.endsWith("jpg") ? 300 : 1), difference);
        }
        choose("exportButton", 2);
        QTRY_COMPARE(QGuiApplication::clipboard()->image().size(), QSize(600, 900));
    }

    void menuOfTheListCopiesMovesAndRenames()
    {
        start({path("first")}, 6);
        click(middle(program->find("hideCheckboxButton")));
        QTRY_VERIFY(program->settled());
        choosesFolder(path("third"));
        const auto choose = [&](int row, int entry, const QStringList &more) {
            chooseAt(middle(program->list(), row), "3", entry, QStringList{"sleep", "0.8"} + more);
        };
        const QStringList names = program->fileNames();
        choose(0, 1, {"key", "Return"}); // copy, and the message
        QTRY_COMPARE(disk("third"), QStringList(names[0]));
        choose(1, 2, {"key", "Return"}); // move
        QTRY_COMPARE(disk("third").size(), 2);
        QCOMPARE(disk("first").size(), 5);
        QTRY_VERIFY(program->settled() && program->rows() == 5);
        choose(0, 3, {"type", "--args", "1", "renamed", "key", "Return"});
        QTRY_VERIFY(disk("first").contains("renamed.jpg"));
        QTRY_VERIFY(program->settled() && program->fileNames().contains("renamed.jpg"));
    }

    void slideshowTakesTheWholeScreen()
    {
        start({path("first")}, 6);
        const QRect before = program->window->geometry();
        click(middle(program->find("slideShowButton")));
        QTRY_COMPARE(program->window->geometry(), QGuiApplication::primaryScreen()->geometry());
        QTest::qWait(1500);
        xdo({"key", "Right", "key", "space", "key", "Escape"});
        QTRY_COMPARE(program->window->geometry(), before);
        QVERIFY(program->find("widget1")->isVisible());
    }

    void cropIsDraggedAtAnyZoom()
    {
        Pictures::save(path("third/quarters.png"), QSize(1200, 800));
        openOnly("third");
        click(middle(program->find("cropButton")));
        auto *const label = program->find<QLabel>("imageLabel");
        const struct
        {
            int steps; // of the wheel, from 100%
            QRect crop;
        } rows[] = {{-6, {100, 80, 300, 200}}, {0, {40, 40, 300, 200}}, {12, {20, 20, 100, 60}}};
        for (const auto &[steps, crop] : rows) {
            click(middle(program->find("fullButton")));
            if (steps != 0)
                xdo(moveTo(middle(program->find("scrollArea")))
                    + QStringList{"click", "--repeat", QString::number(std::abs(steps)), "--delay", "40",
                                  steps > 0 ? "4" : "5"});
            QTest::qWait(300);
            program->find<QSpinBox>("leftSpinBox")->setValue(crop.left());
            program->find<QSpinBox>("topSpinBox")->setValue(crop.top());
            program->find<QSpinBox>("widthSpinBox")->setValue(crop.width());
            program->find<QSpinBox>("heightSpinBox")->setValue(crop.height());
            const QPoint corner = program->place(QSize(1200, 800)).topLeft();
            const auto place = [&](QPoint point) {
                return label->mapToGlobal(corner + point * program->scale());
            };
            const auto isAbout = [&](const QRect &expected) { // a move loses fractions at each step
                const QRect is = program->crop();
                return expected.adjusted(-10, -10, 10, 10).contains(is)
                       && is.contains(expected.adjusted(10, 10, -10, -10));
            };
            QRect expected = crop.translated(30, 20);
            drag(place(crop.center()), place(expected.center()));
            QTRY_VERIFY(isAbout(expected));
            expected.adjust(0, 0, 40, 30);
            drag(place(program->crop().bottomRight()), place(expected.bottomRight()));
            QTRY_VERIFY(isAbout(expected));
            const int y = expected.center().y();
            drag(place({program->crop().left(), y}), place({10, y}));
            expected.setLeft(10);
            QTRY_VERIFY(isAbout(expected));
        }
    }

    void everythingIsAsItWasAfterARestart()
    {
        start({path("third"), path("first"), path("second")}, 0);
        click(middle(program->find("hideCheckboxButton")));
        QVERIFY(!program->find("minButton")->isEnabled());
        click(middle(program->find("plusButton")));
        QTRY_VERIFY(!program->find("plusButton")->isEnabled());
        click(middle(program->find<QAbstractItemView>("sideTreeView"), 1));
        QTRY_VERIFY(program->settled() && program->rows() == 6);
        click(middle(program->list(), 0), 2);
        QTRY_VERIFY(program->find("widget2")->isVisible());
        click(middle(program->find("galleryButton")));
        click(middle(program->find("fitVButton")));
        program->window->setGeometry(90, 80, 1010, 650);
        QTRY_COMPARE(program->window->geometry(), QRect(90, 80, 1010, 650));
        xdo({"key", "alt+F4"});
        QTRY_VERIFY(!program->window->isVisible());
        program.reset();

        program = std::make_unique<Program>();
        QVERIFY(QTest::qWaitForWindowActive(program->window.get()));
        QTRY_COMPARE(program->window->geometry(), QRect(90, 80, 1010, 650));
        QCOMPARE(program->tree(), QStringList({"third", "first", "second"}));
        QVERIFY(program->find<QToolButton>("hideCheckboxButton")->isChecked());
        QCOMPARE(program->list()->iconSize(), QSize(256, 256));
        QVERIFY(!program->find<QToolButton>("galleryButton")->isChecked());
        QVERIFY(program->find<QToolButton>("fitVButton")->isChecked());
    }

private:
    /// The viewer on the only picture of a folder.
    void openOnly(const QString &name)
    {
        start({path(name)}, 1);
        click(middle(program->list(), 0), 2);
        QTRY_VERIFY(text("sizeInfoLabel").endsWith("00"));
    }
    /// Picks the entry with this number from a button's menu, then does more with the keyboard.
    void choose(const char *button, int entry, const QStringList &more = {})
    {
        chooseAt(middle(program->find(button)), "1", entry, more);
    }
    static void chooseAt(QPoint place, const char *mouseButton, int entry, const QStringList &more)
    {
        QStringList arguments = moveTo(place) + QStringList{"click", mouseButton, "sleep", "0.4"};
        for (int i = 0; i < entry; ++i)
            arguments += {"key", "Down"};
        xdo(arguments + QStringList{"key", "Return"} + more);
    }
    void drop(const QString &file, const char *target) { drop(file, program->find(target)); }
    void drop(const QString &file, const QWidget *target)
    {
        DragSource source(file);
        QVERIFY(QTest::qWaitForWindowExposed(&source));
        drag(middle(&source), middle(target));
    }
    void start(const QStringList &folders, int rows)
    {
        // From the settings: set after it is shown it would cross with where the window manager puts it.
        const QRect geometry(60, 60, 1000, 700);
        ProgramTest::start(folders, rows, geometry);
        QVERIFY(QTest::qWaitForWindowActive(program->window.get()));
        QTRY_COMPARE(QRect(program->window->mapToGlobal(QPoint()), program->window->size()), geometry);
    }
};

QTEST_MAIN(WindowTest)
#include "WindowTest.moc"
