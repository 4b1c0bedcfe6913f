#include "shared/image/ColourScreens.h"
#include "shared/platform/FolderPicker.h"
#include "support/Program.h"
#include "support/Tools.h"
#include "viewer/TImageLabel.h"

#ifdef Q_OS_WIN
#    include "support/Imports.h"
#else
#    include "support/FakeColord.h"

#    include <QDBusConnectionInterface>
#    include <xcb/xcb.h>
#endif

#include <utility>

namespace {

/// There a window is not told where it stands, and the compositor's screen is one window on an X display.
bool isOnWayland()
{
    return QGuiApplication::platformName().startsWith("wayland");
}

/// Knows where a window was told last that the pointer is. Where it has a frame of the program's own the
/// cursor is off by that at times.
class PointerWatch : public QObject
{
public:
    explicit PointerWatch(QObject *window) { window->installEventFilter(this); }

    QPoint position;

private:
    bool eventFilter(QObject * /*window*/, QEvent *event) override
    {
        if (event->type() == QEvent::MouseMove)
            position = static_cast<QMouseEvent *>(event)->position().toPoint();
        return false;
    }
};

/// Where the origin of the program's coordinates is on the display that xdotool knows.
QPoint origin;

/// Lets xdotool do something with the real pointer and keyboard, while the program answers.
void xdo(const QStringList &arguments)
{
    Tools::Tool tool("xdotool", arguments);
    QTRY_VERIFY(tool.hasEnded());
    QVERIFY(tool.printed());
}

/// Not with --sync, which waits long where the pointer is there already.
QStringList moveTo(QPoint point)
{
    point += origin;
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

/// Offers files to other windows, as a file manager does.
class DragSource : public QWidget
{
public:
    explicit DragSource(const QStringList &paths, QWidget *parent)
        : QWidget(parent)
    {
        for (const QString &path : paths)
            urls.append(QUrl::fromLocalFile(path));
        setGeometry(parent ? 0 : 1100, 20, 150, 60);
        show();
    }

protected:
    void mousePressEvent(QMouseEvent *) override {}
    void mouseMoveEvent(QMouseEvent *) override
    {
        auto *const data = new QMimeData;
        data->setUrls(urls);
        auto *const drag = new QDrag(this);
        drag->setMimeData(data);
        drag->exec(Qt::CopyAction | Qt::LinkAction | Qt::MoveAction, Qt::CopyAction);
    }

private:
    QList<QUrl> urls;
};

#ifndef Q_OS_WIN
/// Stands for what lets the screen fall asleep, on the session bus.
class FakeScreenSaver : public QDBusVirtualObject
{
public:
    [[nodiscard]] bool start()
    {
        return bus.registerVirtualObject("/org/freedesktop/ScreenSaver", this)
               && bus.registerService("org.freedesktop.ScreenSaver");
    }
    /// True while anybody on the bus wishes that it does not.
    [[nodiscard]] bool isKeptAwake() const
    {
        return std::any_of(wishes.cbegin(), wishes.cend(), [this](const QString &wish) {
            return bus.interface()->isServiceRegistered(wish).value();
        });
    }

private:
    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &on) override
    {
        if (call.member() == "Inhibit" && call.signature() == "ss")
            wishes.append(call.service());
        on.send(call.createReply(1U));
        return true;
    }

    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "screen saver");
    QStringList wishes;
};
#endif

} // namespace

/// The program in a real window, with a window manager, a pointer and a keyboard.
class WindowTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"first", "second", "third"});
        Pictures::saveMany(path("first"), 6, QSize(1500, 1000));
        Pictures::saveMany(path("second"), 3);
    }

    void cleanup() { end(); }

    void windowShowsItsTitleBarAndComesBackWhereItStood()
    {
        programSettings().clear();
        program = std::make_unique<Program>();
        auto *const window = program->window.get();
        QTRY_VERIFY(isOnWayland() || window->frameGeometry().top() < window->geometry().top());
        QVERIFY(isOnWayland() || window->screen()->availableGeometry().contains(window->frameGeometry()));
        const QRect place(90, 80, 1010, 650);
        window->setGeometry(place);
        const auto seen = [this, place] {
            return isOnWayland() ? QRect(place.topLeft(), program->window->size())
                                 : program->window->geometry();
        };
        QTRY_COMPARE(seen(), place);
        window->close();
        program.reset();
        program = std::make_unique<Program>();
        QTRY_COMPARE(seen(), place);
    }

    void droppedFilesAndFoldersAreOpened()
    {
        start({}, 0);
        // Opened at once, and its folder joins the list.
        drop({path("first/0004.jpg")}, program->find("noItemFrame"));
        QTRY_COMPARE(text("sizeInfoLabel"), "1500x1000");
        QTRY_COMPARE(program->fileNames().value(program->list()->currentIndex().row()), "0004.jpg");
        QTRY_VERIFY(program->find("backButton")->isVisible() && program->find("forwardButton")->isVisible());
        click(middle(program->find("closeButton")));
        drop({path("second")}, program->list());
        QTRY_COMPARE(program->tree(), QStringList({"second", "first"}));
        QTRY_COMPARE(program->rows(), 3);
        drop({"/etc/passwd"}, program->list()); // no image: refused
        QVERIFY(program->find("widget1")->isVisible());
        drop({path("first/0003.jpg")}, program->find("sideTreeView"));
        QTRY_VERIFY(program->find("widget2")->isVisible());
        QTRY_COMPARE(text("sizeInfoLabel"), "1500x1000");
        QCOMPARE(program->tree(), QStringList({"second", "first"})); // known already
    }

    void picturesAreDrawnInTheScreensColours()
    {
#ifdef Q_OS_WIN
        QSKIP("No program there can give the screen a profile.");
#else
        if (isOnWayland())
            QSKIP("A service alone names the screen's profile there.");
        start({path("first")}, 6);
        nameScreenProfile(QColorSpace(QColorSpace::AdobeRgb).iccProfile());
        QTRY_VERIFY(count(program->list(), shown) > 500); // icons
        QCOMPARE(count(program->list(), stored), 0);
        program->open(0);
        QTRY_COMPARE(text("sizeInfoLabel"), "1500x1000");
        QTRY_VERIFY(count(program->window.get(), shown) > 20000);
        QCOMPARE(count(program->window.get(), stored), 0);
        const QSize whole = QGuiApplication::primaryScreen()->size();
        // Of two screens the other one keeps the profile; each window has the colours of where it is.
        const auto divide = [](const QStringList &arguments) {
            QCOMPARE(QProcess::execute("xrandr", arguments), 0);
        };
        divide({"--setmonitor", "left", "640/200x900/300+0+0", "screen"});
        divide({"--setmonitor", "right", "640/200x900/300+640+0", "none"});
        nameScreenProfile(QColorSpace(QColorSpace::AdobeRgb).iccProfile(), "_ICC_PROFILE_1");
        nameScreenProfile({});
        QTRY_VERIFY(count(program->window.get(), stored) > 20000); // as the file has it
        program->window->move(220, 60);
        QTRY_VERIFY(count(program->window.get(), shown) > 20000);
        QCOMPARE(count(program->window.get(), stored), 0);
        click(middle(program->find("closeButton")));
        QTRY_VERIFY(count(program->list(), shown) > 500);
        program->window->move(60, 60);
        QTRY_VERIFY(count(program->list(), stored) > 500);
        QCOMPARE(count(program->list(), shown), 0);
        nameScreenProfile({}, "_ICC_PROFILE_1");
        divide({"--delmonitor", "left"});
        divide({"--delmonitor", "right"});
        QTRY_COMPARE(QGuiApplication::primaryScreen()->size(), whole);
#endif
    }

    void whatTheDisplayDoesNotNameAServiceMay()
    {
#ifdef Q_OS_WIN
        QSKIP("There is no such service.");
#else
        start({path("first")}, 6);
        colord.hangs = true;
        if (!colord.start())
            QSKIP("There is no message bus.");
        write("adobe.icc", QColorSpace(QColorSpace::AdobeRgb).iccProfile());
        const auto isAskedAgain = [&, before = colord.asked] { return colord.tell(), colord.asked > before; };
        QTRY_VERIFY(isAskedAgain());
        colord.hangs = false;
        colord.name(QGuiApplication::primaryScreen()->name(), path("adobe.icc"));
        QTRY_VERIFY(count(program->list(), shown) > 500);
        colord.name(QGuiApplication::primaryScreen()->name(), path("gone.icc"));
        QTRY_VERIFY(count(program->list(), stored) > 500);
        QCOMPARE(count(program->list(), shown), 0);
#endif
    }

    void batchListIsFilledByDroppingAndOrderedByDragging()
    {
        VistamoGlobal::showPdfAndConvertButtons = true;
        start({path("first")}, 6);
        click(middle(program->find("pdfButton")));
        const QWidget *const form = program->find("ImagesToPDFForm");
        const auto *const view = program->find<QTreeView>("sourceTreeView");
        const QWidget *const frame = program->find("noItemFrame", form);
        drop({"/etc/passwd", path("first")}, frame); // refused: the first decides
        drop({path("second"), "/etc/passwd"}, frame);
        QTRY_VERIFY(view->isVisible());
        drop({path("first")}, view); // a list that is filled takes nothing
        const QStringList before = Program::namesIn(view);
        QCOMPARE(before.size(), 3);
        const QStringList after = {before[2], before[0], before[1]};
        const QPoint between =
            middle(view, 0) - QPoint(0, view->visualRect(view->model()->index(0, 0)).height() / 2 - 1);
        click(middle(view, 2));
        drag(middle(view, 2), between);
        QTRY_COMPARE(Program::namesIn(view), after);
        drag(middle(view, 0), middle(view, 1));                  // onto a row: nothing
        drag(middle(view, 0), middle(view, 2) + QPoint(0, 150)); // onto no row: nothing
        QCOMPARE(Program::namesIn(view), after);
    }

    void folderIsMovedByDragging()
    {
        start({path("first"), path("second"), path("third")}, 6);
        auto *const view = program->find<QAbstractItemView>("sideTreeView");
        const QPoint toEdge(0, view->visualRect(view->model()->index(0, 0)).height() / 2 - 1);
        const auto check = [&](QPoint from, QPoint to, const QStringList &expected) {
            drag(from, to);
            QTRY_COMPARE(program->tree(), expected);
        };
        check(middle(view, 1), middle(view, 0) - toEdge, {"second", "first", "third"});
        QTRY_COMPARE(program->rows(), 3); // the moved folder is on show
        check(middle(view, 0), view->viewport()->mapToGlobal(QPoint(80, 300)), {"first", "third", "second"});
        check(middle(view, 0), middle(view, 1) + toEdge, {"third", "first", "second"});
        check(middle(view, 2), middle(view, 0) + toEdge, {"third", "second", "first"});
        check(middle(view, 2), middle(view, 0), {"first", "third", "second"}); // in its place
        // Taken to where nothing can be dropped: what is highlighted is the folder on show.
        check(middle(view, 1), middle(program->find("pathWidget")), {"first", "third", "second"});
        QTRY_COMPARE(view->currentIndex().row(), 0);
    }

    void pictureIsViewed()
    {
        start({path("first")}, 6);
        click(middle(program->list(), 2), 2);
        QTRY_VERIFY(program->isOn("0002.jpg"));
        const auto *const strip = program->strip();
        click(strip->viewport()->mapToGlobal(strip->visualRect(strip->model()->index(0, 5)).center()));
        QTRY_VERIFY(program->isOn("0005.jpg"));
        QTRY_VERIFY(program->scale() < 1); // the picture itself is up

        // The wheel zooms, a drag moves the picture.
        const QPoint centre = middle(program->find("scrollArea"));
        const double fitted = program->scale();
        xdo(moveTo(centre) + QStringList{"click", "--repeat", "8", "--delay", "40", "4"});
        QTRY_VERIFY(program->scale() > 2 * fitted);
        const auto *const area = program->find<QScrollArea>("scrollArea");
        QCOMPARE(area->verticalScrollBar()->value(), 0); // a zoom leaves the scroll bars where they are
        dragPicture(centre, centre - QPoint(40, 90));
        emit program->find<TImageLabel>("imageLabel")->mouseMove({}, {}); // the drag has ended
        QCOMPARE(area->horizontalScrollBar()->value(), 40);
        QCOMPARE(area->verticalScrollBar()->value(), 90);
        xdo({"click", "5"});
        QTRY_VERIFY(program->scale() < 2 * fitted);
    }

    void editsAreSeenAtOnce()
    {
        openOnly(QSize(900, 600));
        const auto colour = [&] { // beside the dialog
            const QImage screen = onScreen(program->find("scrollArea"));
            return screen.pixelColor(screen.rect().center() + QPoint(150, -60));
        };
        const QColor before = colour();
        for (const int entry : {0, 1}) { // grayscale and sepia, not with the smooth pass
            program->find<QToolButton>("adjustButton")->menu()->actions()[entry]->trigger();
            QVERIFY(atOnce([&] { return colour() != before; }));
            choose("adjustButton", 7);
            QTRY_COMPARE(colour(), before);
        }
        for (const char *const button : {"rotateLeftButton", "rotateLeftButton", "rotateRightButton",
                                         "flipHButton", "flipVButton", "flipHButton"}) {
            const QColor last = colour();
            program->click(button);
            QVERIFY2(atOnce([&] { return colour() != last; }), button);
        }
        QTRY_COMPARE(program->shown(QSize(600, 900)), "red blue green yellow");
    }

    void everythingIsDoneWithoutAMouse()
    {
#ifdef Q_OS_WIN
        QSKIP("Wine's dialogs do not take the Return key.");
#else
        VistamoGlobal::showPdfAndConvertButtons = true;
        start({}, 0);
        answer(path("first"));
        xdo({"key", "ctrl+o"});
        settle(6);
        QTRY_VERIFY(program->list()->hasFocus());
        xdo({"key", "Right", "key", "Return"});
        QTRY_COMPARE(text("sizeInfoLabel"), "1500x1000");
        QTRY_VERIFY(program->scale() < 1); // the picture itself is up
        xdo({"key", "c"});
        QTRY_VERIFY(program->find<QToolButton>("cropButton")->isChecked());
        goTo("leftSpinBox", "shift+Tab");
        for (const char *const value : {"30", "20", "400", "300"})
            xdo({"key", "ctrl+a", "type", "--args", "1", value, "key", "Tab"});
        QTRY_COMPARE(program->crop(), QRect(30, 20, 400, 300));
        goTo("exportCropImageButton");
        answer(path("crop.png"));
        xdo({"key", "space"});
        QTRY_COMPARE(QImage(path("crop.png")).size(), QSize(400, 300));
        xdo({"key", "Escape"});
        QTRY_VERIFY(program->list()->hasFocus());
        xdo({"key", "ctrl+a"});
        QTRY_COMPARE(program->ticks().size(), 6);
        goTo("pdfButton");
        xdo({"key", "space"});
        QTRY_VERIFY(program->window->findChild<QWidget *>("ImagesToPDFForm"));
        goTo("createPdfButton");
        answer(path("third/album.pdf"));
        when(&messageBox, [] { QVERIFY(QProcess::startDetached("xdotool", {"key", "Escape"})); });
        xdo({"key", "space"});
        QTRY_COMPARE(awaited, 0);
        QCOMPARE(Files::read(path("third/album.pdf")).count("/Type /Page\n"), 6);
#endif
    }

    void slideshowTakesTheWholeScreen()
    {
        start({path("first")}, 6);
#ifdef Q_OS_WIN
        static EXECUTION_STATE state;
        Imports::replace<decltype(&SetThreadExecutionState)>(
            "SetThreadExecutionState", [](EXECUTION_STATE wanted) { return std::exchange(state, wanted); });
        const auto isAwake = [](bool expected) { return bool(state & ES_DISPLAY_REQUIRED) == expected; };
#else
        FakeScreenSaver saver;
        QVERIFY(saver.start());
        const auto isAwake = [&saver](bool expected) { return saver.isKeptAwake() == expected; };
#endif
        const QSize screen = QGuiApplication::primaryScreen()->size();
        // There, more than the screen is forbidden to those that fill it.
        program->window->resize(isOnWayland() ? screen + QSize(40, 40) : QSize(760, 600));
        const QRect before = program->window->geometry();
        const auto isAsBefore = [&] { // there, the frame's size comes and goes
            const QRect now = program->window->geometry();
            return isOnWayland() ? now.size().expandedTo(screen) == now.size() && now.size() != screen
                                 : now == before;
        };
        click(middle(program->find("slideShowButton")));
        QTRY_VERIFY(isAwake(true));
        QTRY_COMPARE(program->window->geometry(), QGuiApplication::primaryScreen()->geometry());
        QTRY_COMPARE(Pictures::quartersOf(onScreen(program->find("SlideShowForm"))), "red green blue yellow");
        Pictures::save(path("first/new.png"), QSize(60, 40));
        QTRY_COMPARE(program->rows(), 7);
        xdo({"key", "Right", "key", "space", "key", "Escape"});
        QTRY_VERIFY(isAsBefore());
        QTRY_VERIFY(isAwake(false));
        // Nor is the list laid out for the whole screen any more.
        QTRY_COMPARE(program->list()->horizontalScrollBar()->maximum(), 0);
    }

#ifdef Q_OS_WIN
    void folderBrowserBelongsToTheWindow()
    {
        start({path("first")}, 6);
        auto *const window = reinterpret_cast<HWND>(program->window->winId());
        bool holdsWindow = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            const HWND browser = FindWindowW(L"#32770", nullptr);
            holdsWindow |= browser && GetWindow(browser, GW_OWNER) == window && !IsWindowEnabled(window);
            if (browser)
                PostMessageW(browser, WM_COMMAND, IDOK, 0);
        });
        timer.start(100);
        // Without its start folder it would give another one.
        const QString folder = QDir::homePath() + "/Album";
        QVERIFY(QDir().mkpath(folder));
        QCOMPARE(FolderPicker().selectFolder(folder, "Select Folder ..."), folder);
        QVERIFY(holdsWindow);
    }
#endif

    void cropIsDraggedAtAnyZoom()
    {
        openOnly(QSize(1200, 800));
        click(middle(program->find("cropButton")));
        auto *const label = program->find<TImageLabel>("imageLabel");
        for (const auto &[steps, crop] : {std::pair(-6, QRect(100, 80, 300, 200)), // of the wheel, from 100%
                                          {0, {40, 40, 300, 200}},
                                          {12, {20, 20, 100, 60}}}) {
            click(middle(program->find("fullButton")));
            QTRY_COMPARE(text("percentResizeLabel"), "100%");
            QSignalSpy wheel(label, &TImageLabel::needToResizeImage);
            if (steps != 0)
                xdo(moveTo(middle(program->find("scrollArea")))
                    + QStringList{"click", "--repeat", QString::number(std::abs(steps)), "--delay", "40",
                                  steps > 0 ? "4" : "5"});
            QTRY_COMPARE(wheel.size(), std::abs(steps));
            for (const auto &[field, value] : {std::pair("leftSpinBox", crop.left()),
                                               {"topSpinBox", crop.top()},
                                               {"widthSpinBox", crop.width()},
                                               {"heightSpinBox", crop.height()}})
                program->find<QSpinBox>(field)->setValue(value);
            const QPoint corner = program->place(QSize(1200, 800)).topLeft();
            const auto place = [&](QPoint point) {
                return label->mapToGlobal(corner + point * program->scale());
            };
            const auto check = [&](QPoint from, QPoint to, const QRect &expected) {
                dragPicture(place(from), place(to));
                // A move loses fractions at each step.
                QVERIFY(expected.adjusted(-10, -10, 10, 10).contains(program->crop()));
                QVERIFY(program->crop().contains(expected.adjusted(10, 10, -10, -10)));
            };
            const QRect moved = crop.translated(30, 20);
            check(crop.center(), moved.center(), moved);
            const QRect larger = moved.adjusted(0, 0, 40, 30);
            check(program->crop().bottomRight(), larger.bottomRight(), larger);

            // Each step is on the screen at once.
            if (isOnWayland())
                xdo(moveTo(-origin)); // or the pointer would be seen
            const QPoint from = place(program->crop().center());
            const QPoint to = from + QPoint(15, -9);
            emit label->mouseMove(from, label->mapFromGlobal(from));
            emit label->startDragImage(from);
            label->repaint();
            const auto *const area = program->find("scrollArea");
            const QImage before = onScreen(area);
            emit label->mouseMove(to, label->mapFromGlobal(to));
            emit label->endDragImage();
            QVERIFY(atOnce([&] { return onScreen(area) != before; }));
        }
    }

private:
    /// The viewer on the only picture of a folder, one of this size.
    void openOnly(QSize size)
    {
        Pictures::save(path("third/quarters.png"), size);
        start({path("third")}, 1);
        click(middle(program->list(), 0), 2);
        QTRY_VERIFY(text("sizeInfoLabel").endsWith("00"));
    }
    /// Picks the entry with this number from a button's menu.
    void choose(const char *button, int entry)
    {
        when(&QApplication::activePopupWidget,
             [=] { xdo(QStringList("key") + QStringList(entry, "Down") + QStringList("Return")); });
        click(middle(program->find(button)));
        QTRY_COMPARE(awaited, 0);
    }
    /// Types an answer into the next dialog, which may end before that returns.
    void answer(const QString &typed)
    {
        when(&QApplication::activeModalWidget, [typed] {
            const QStringList keys = {"key", "ctrl+a", "type", "--args", "1", typed, "key", "Return"};
            QVERIFY(QProcess::startDetached("xdotool", keys));
        });
    }
    static QWidget *messageBox()
    {
        return qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    }
    /// Presses a key until the focus is on this widget.
    void goTo(const QString &name, const char *key = "Tab") const
    {
        const auto isThere = [&] {
            return QApplication::focusWidget() && QApplication::focusWidget()->objectName() == name;
        };
        for (int i = 0; i < 40 && !isThere(); ++i)
            xdo({"key", key});
        QVERIFY2(isThere(), qPrintable(name));
    }
    /// Does something once there is such a widget, which may have an event loop of its own.
    void when(QWidget *(*widget)(), const std::function<void()> &action)
    {
        ++awaited;
        QTimer::singleShot(10, program->window.get(), [=, this] {
            widget() && widget()->isActiveWindow() ? action() : when(widget, action);
            --awaited;
        });
    }
    /// A drag in the view, begun when the program has seen the press: it asks where the pointer is only then.
    void dragPicture(QPoint from, QPoint to)
    {
        auto *const label = program->find<TImageLabel>("imageLabel");
        QSignalSpy presses(label, &TImageLabel::startDragImage);
        QSignalSpy releases(label, &TImageLabel::endDragImage);
        xdo(moveTo(from) + QStringList{"mousedown", "1"});
        QTRY_COMPARE(presses.size(), 1);
        xdo(moveTo((from + to) / 2) + moveTo(to) + QStringList{"mouseup", "1"});
        QTRY_COMPARE(releases.size(), 1);
    }
    /// What the screen shows of a widget once all that is to be painted by now is: no timer has its turn.
    static QImage onScreen(const QWidget *widget)
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
#ifdef Q_OS_WIN
        MSG none; // who looks for messages and finds none lets Wine bring to the screen what is painted
        PeekMessageW(&none, nullptr, WM_USER - 1, WM_USER - 1, PM_NOREMOVE);
#endif
        const QRect place(widget->mapToGlobal(QPoint()), widget->size());
#ifndef Q_OS_WIN
        if (isOnWayland()) {
            QImage last;
            QImage now;
            static_cast<void>(QTest::qWaitFor(
                [&] {
                    last = std::exchange(now, display());
                    return now == last;
                },
                patience));
            return now.copy(place.translated(origin));
        }
#endif
        QScreen *const atOrigin = QGuiApplication::primaryScreen(); // perhaps of several
        return atOrigin->grabWindow(0, place.x(), place.y(), place.width(), place.height()).toImage();
    }
    /// Looks at the screen before anything else can happen; a compositor has to be waited for.
    static bool atOnce(const std::function<bool()> &condition)
    {
        return isOnWayland() ? QTest::qWaitFor(condition, patience) : condition();
    }
    /// Learns where the compositor has put the window from where the pointer comes into it.
    void findOrigin()
    {
        QWindow *const window = program->window->windowHandle();
        const auto standsAt = [&](QPoint point) {
            PointerWatch watch(window);
            origin = {};
            // The compositor adds up steps, from where it stops them; a pointer that comes in tells nothing
            // until it moves.
            xdo(moveTo({0, 0}) + moveTo(point - QPoint(2, 2)) + moveTo(point));
            static_cast<void>(QTest::qWaitFor([&] { return !watch.position.isNull(); }, 1000));
            return point - program->window->mapToGlobal(watch.position);
        };
        QPoint found;
        QTRY_VERIFY((found = standsAt({640, 450})) == standsAt({650, 470}));
        origin = found;
    }
    void drop(const QStringList &files, const QWidget *target)
    {
        DragSource source(files, isOnWayland() ? program->window.get() : nullptr); // to know where it is
        QVERIFY(QTest::qWaitForWindowExposed(source.window(), patience));
        drag(middle(&source), middle(target));
    }
    void start(const QStringList &folders, int rows)
    {
        // From the settings: set after it is shown it would cross with where the window manager puts it.
        const QRect geometry(60, 60, 1000, 700);
        ProgramTest::start(folders, rows, geometry);
        QTRY_VERIFY(program->window->isActiveWindow());
        if (isOnWayland())
            return findOrigin();
        QTRY_COMPARE(QRect(program->window->mapToGlobal(QPoint()), program->window->size()), geometry);
    }

#ifndef Q_OS_WIN
    /// Puts a profile where programs look for the screen's, and waits until it is read.
    void nameScreenProfile(const QByteArray &profile, const QByteArray &property = "_ICC_PROFILE")
    {
        xcb_connection_t *const connection = xcb_connect(nullptr, nullptr);
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        auto *const atom = xcb_intern_atom_reply(
            connection,
            xcb_intern_atom(connection, 0, static_cast<uint16_t>(property.size()), property.constData()),
            nullptr);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, root, atom->atom, XCB_ATOM_CARDINAL, 8,
                            static_cast<uint32_t>(profile.size()), profile.constData());
        free(atom);
        free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr)); // all is done
        xcb_disconnect(connection);
        QSignalSpy changed(&Colour::Screens::all(), &Colour::Screens::changed);
        emit qGuiApp->applicationStateChanged(Qt::ApplicationActive); // back from where it was chosen
        QVERIFY(changed.wait(patience));
    }

    /// All of the X display.
    static QImage display()
    {
        const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> owner(
            xcb_connect(nullptr, nullptr), xcb_disconnect);
        xcb_connection_t *const connection = owner.get();
        const xcb_screen_t &screen = *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        const uint16_t width = screen.width_in_pixels;
        const uint16_t height = screen.height_in_pixels;
        const auto ask =
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen.root, 0, 0, width, height, ~0U);
        auto *const answer = xcb_get_image_reply(connection, ask, nullptr);
        const QImage image = QImage(xcb_get_image_data(answer), width, height, QImage::Format_RGB32).copy();
        free(answer);
        return image;
    }
    /// How much of a widget has this colour on the screen, pixels.
    static int count(const QWidget *widget, const QColor &colour)
    {
        const QImage seen = onScreen(widget);
        int found = 0;
        for (int y = 0; y < seen.height(); ++y)
            for (int x = 0; x < seen.width(); ++x)
                found += Pictures::isNear(seen.pixelColor(x, y), colour, 3);
        return found;
    }

    // Of a part of the photos, as their files have it, and on a screen with the profile
    const QColor stored = Pictures::quarterColours()[0];
    const QColor shown =
        QColorSpace(QColorSpace::SRgb).transformationToColorSpace(QColorSpace::AdobeRgb).map(stored);
    FakeColord colord;
#endif

    int awaited = 0; ///< actions of `when`
};

PROGRAM_TEST_MAIN(WindowTest)
#include "WindowTest.moc"
