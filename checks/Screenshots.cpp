#include <QtWidgets>

#include <QGenericPlugin>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <type_traits>
#include <utility>

#ifdef Q_OS_WIN
#    include <windows.h>
// After it.
#    include <shlobj.h>
#endif

namespace {

constexpr int longestWaitMs = 30000;
constexpr int pollMs = 50;
constexpr int quietMs = 1300; // the smooth pass of the viewer comes after a second
constexpr const char *messageText = "qt_msgbox_label";

/// What a function gives in the GUI thread.
template <typename Function>
auto inGui(const Function &function)
{
    if constexpr (std::is_void_v<std::invoke_result_t<Function>>) {
        QMetaObject::invokeMethod(qApp, function, Qt::BlockingQueuedConnection);
    } else {
        std::invoke_result_t<Function> result{};
        QMetaObject::invokeMethod(
            qApp, [&] { result = function(); }, Qt::BlockingQueuedConnection);
        return result;
    }
}

/// Does something in the GUI thread that may open a dialog, which nobody must wait for.
void begin(const std::function<void()> &function)
{
    QMetaObject::invokeMethod(qApp, function, Qt::QueuedConnection);
}

/// A widget on the screen by its name, of the dialog that has the input if that has one.
template <typename Widget = QWidget>
Widget *seen(const QString &name)
{
    QWidgetList tops = QApplication::topLevelWidgets();
    if (QWidget *const dialog = QApplication::activeModalWidget())
        tops.prepend(dialog);
    for (QWidget *const top : std::as_const(tops)) {
        QList<Widget *> found = top->findChildren<Widget *>(name);
        if (auto *const itself = top->objectName() == name ? qobject_cast<Widget *>(top) : nullptr)
            found.append(itself);
        for (Widget *const widget : std::as_const(found))
            if (widget->isVisible() && widget->isEnabled())
                return widget;
    }
    return nullptr;
}

template <typename Condition>
void waitUntil(const Condition &condition, const QString &what)
{
    for (const QDeadlineTimer end(longestWaitMs); !inGui(condition); QThread::msleep(pollMs)) {
        if (end.hasExpired()) {
            std::fprintf(stderr, "screenshots: waited in vain for %s\n", qPrintable(what));
            std::_Exit(1);
        }
    }
}

template <typename Widget = QWidget>
Widget *find(const QString &name)
{
    Widget *found = nullptr;
    waitUntil([&] { return (found = seen<Widget>(name)); }, name);
    return found;
}

void waitFor(const char *name)
{
    find(name);
}

bool isVisible(const char *name)
{
    return inGui([=] { return seen(name) != nullptr; });
}

void click(const char *name)
{
    auto *const button = find<QAbstractButton>(name);
    begin([=] { button->click(); });
}

void doubleClick(const char *name)
{
    QWidget *const widget = find(name);
    begin([=] {
        const QPointF middle = widget->rect().center();
        QMouseEvent event(QEvent::MouseButtonDblClick, middle, widget->mapToGlobal(middle), Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    });
}

QString photos()
{
    return QDir::homePath() + "/Photos";
}

void waitForTheEndOf(const char *name)
{
    waitUntil([=] { return !seen(name); }, QString("the end of ") + name);
}

/// Closes what a widget stands in, as its user does.
void dismiss(const char *name, Qt::Key key = Qt::Key_Escape)
{
    QWidget *const widget = find(name);
    begin([=] {
        QWidget *const window = widget->window();
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(window->focusWidget() ? window->focusWidget() : window, &event);
    });
    waitForTheEndOf(name);
}

QWidget *mainWindow()
{
    return seen("MainWindow");
}

/// An entry of a menu, by its text.
void choose(const QString &text)
{
    begin([=] {
        for (auto *const action : mainWindow()->findChildren<QAction *>())
            if (action->text() == text)
                action->trigger();
    });
}

/// An entry of the context menu of the current photo.
void chooseOfFile(const QString &text)
{
    auto *const list = find<QListView>("mainListView");
    waitUntil([=] { return list->isActiveWindow(); }, "the main window's turn");
    begin([=] {
        const QPointF middle = list->visualRect(list->currentIndex()).center();
        QMouseEvent event(QEvent::MouseButtonPress, middle, list->viewport()->mapToGlobal(middle),
                          Qt::RightButton, Qt::RightButton, Qt::NoModifier);
        QApplication::sendEvent(list->viewport(), &event);
    });
    QMenu *menu = nullptr;
    waitUntil([&] { return (menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())); }, "a menu");
    begin([=] {
        menu->close(); // which knows the file until its loop ends, behind the dialog
        for (QAction *const action : menu->actions())
            if (action->text() == text)
                action->trigger();
    });
}

/// Gives the file dialog a name, in the folder of the photos unless it has a folder of its own.
void answer(const QString &name)
{
    auto *const edit = find<QLineEdit>("fileNameEdit");
    begin([=] {
        edit->setText(QDir(photos()).filePath(name));
        QMetaObject::invokeMethod(edit->window(), "accept");
    });
}

/// The same for a folder, of which the dialog may be the system's own.
void answerWithFolder(const QString &name)
{
#ifdef Q_OS_WIN
    HWND browser = nullptr;
    waitUntil([&] { return (browser = FindWindowW(L"#32770", nullptr)); }, "the folder browser");
    const std::wstring path = QDir::toNativeSeparators(QDir(photos()).filePath(name)).toStdWString();
    SendMessageW(browser, BFFM_SETSELECTIONW, TRUE, reinterpret_cast<LPARAM>(path.c_str()));
    PostMessageW(browser, WM_COMMAND, IDOK, 0);
#else
    answer(name);
#endif
}

void waitUntilShown(const QString &path)
{
    auto *const status = find<QLabel>("pathValueLabel");
    auto *const list = find<QListView>("mainListView");
    waitUntil(
        [=] {
            return status->text().startsWith("Total: ")
                   && status->text().endsWith(QDir::toNativeSeparators(path))
                   && list->model()->rowCount() == QDir(path).entryList(QDir::Files).size();
        },
        path);
}

/// Drops a folder of photos on the window, and waits until it is on show.
void drop(const QString &folder)
{
    const QString path = photos() + '/' + folder;
    QWidget *const target =
        isVisible("noItemFrame") ? find("noItemFrame") : find<QListView>("mainListView")->viewport();
    begin([=] {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        QDragEnterEvent enter(QPoint(9, 9), Qt::LinkAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        QDropEvent event(QPointF(9, 9), Qt::LinkAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &event);
    });
    waitUntilShown(path);
}

void select(int row, const char *view = "mainListView")
{
    auto *const list = find<QAbstractItemView>(view);
    inGui([=] { list->setCurrentIndex(list->model()->index(row, 0)); });
}

/// Clicks on the check boxes of photos.
void tick(const QList<int> &rows)
{
    auto *const list = find<QListView>("mainListView");
    inGui([=] {
        for (const int row : rows) {
            const QModelIndex file = list->model()->index(row, 0);
            const bool ticked = file.data(Qt::CheckStateRole) == Qt::Checked;
            list->model()->setData(file, ticked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
            emit list->clicked(file);
        }
    });
}

void open(int row)
{
    auto *const list = find<QListView>("mainListView");
    begin([=] { emit list->doubleClicked(list->model()->index(row, 0)); });
}

/// Where the main window and what stands over it are on the screen.
QRect shownArea()
{
    QRect area;
    for (const QWidget *const top : QApplication::topLevelWidgets())
        if (top->isVisible())
            area |= top->objectName() == "MainWindow" ? top->geometry() : top->frameGeometry();
    return area;
}

/// In pixels of the screen.
QRect inPixels(const QRect &rect)
{
    return {rect.topLeft() * qApp->devicePixelRatio(), rect.size() * qApp->devicePixelRatio()};
}

QImage screen()
{
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage().copy(inPixels(shownArea()));
}

/// Whether a widget has a text or an icon to be seen, or neither.
QString kindOf(const QWidget *widget)
{
    const auto *const button = qobject_cast<const QToolButton *>(widget);
    const auto *const label = qobject_cast<const QLabel *>(widget);
    const auto *const field = qobject_cast<const QLineEdit *>(widget);
    if (button && button->toolButtonStyle() == Qt::ToolButtonIconOnly)
        return "icon";
    const bool isText = label   ? !label->text().trimmed().isEmpty()
                        : field ? !field->text().isEmpty()
                                : qobject_cast<const QAbstractButton *>(widget)
                                      || qobject_cast<const QComboBox *>(widget)
                                      || qobject_cast<const QTabBar *>(widget);
    return isText ? "text" : "";
}

/// A frame is no text and no icon.
QRect withoutFrame(const QWidget *widget)
{
    const bool hasFrame =
        qobject_cast<const QAbstractButton *>(widget) || qobject_cast<const QComboBox *>(widget);
    return hasFrame ? widget->rect().adjusted(3, 3, -3, -3) : widget->rect();
}

/// The texts and icons of the window that has the input, and where a picture of the screen has them:
/// what scripts/check-contrast looks at. Of the names of photos the last line.
QJsonArray texts()
{
    QJsonArray found;
    QWidget *const dialog = QApplication::activeModalWidget();
    const QWidget *const window = dialog ? dialog : QApplication::activeWindow();
    const auto add = [&](const QWidget *widget, const QRect &part, const QString &name, const QString &kind,
                         bool enabled) {
        const QPoint offset = widget->mapToGlobal(QPoint()) - shownArea().topLeft();
        const QRect seen = part & widget->visibleRegion().boundingRect();
        const QRect rect = inPixels(seen.translated(offset));
        if (seen == part)
            found.append(QJsonObject{{"name", name},
                                     {"kind", kind},
                                     {"enabled", enabled},
                                     {"rect", QJsonArray{rect.x(), rect.y(), rect.width(), rect.height()}}});
    };
    for (const auto *const widget : window ? window->findChildren<QWidget *>() : QWidgetList()) {
        if (!widget->isVisible())
            continue;
        if (const QString kind = kindOf(widget); !kind.isEmpty())
            add(widget, withoutFrame(widget), widget->objectName(), kind, widget->isEnabled());
        const auto *const view = qobject_cast<const QAbstractItemView *>(widget);
        if (!view || !view->model() || qobject_cast<const QHeaderView *>(view)
            || view->objectName() == "galleryTableView") // shows no names
            continue;
        for (int row = 0; row < view->model()->rowCount(); ++row) {
            const QModelIndex item = view->model()->index(row, 0);
            QRect rect = view->visualRect(item);
            if (qobject_cast<const QListView *>(view)) { // photos above their names
                rect.setTop(std::max(rect.top(), rect.bottom() - view->fontMetrics().height()));
            } else { // in rows that may be much wider
                const bool isBare =
                    item.data(Qt::DecorationRole).isNull() && item.data(Qt::CheckStateRole).isNull();
                const int mark = std::max(view->iconSize().width(), view->fontMetrics().height()) + 8;
                rect.setLeft(rect.left() + (isBare ? 0 : mark));
                rect.setWidth(
                    std::min(rect.width(), view->fontMetrics().horizontalAdvance(item.data().toString())));
            }
            add(view->viewport(), rect, view->objectName() + ' ' + item.data().toString(), "text",
                item.flags() & Qt::ItemIsEnabled && view->isEnabled());
        }
    }
    return found;
}

void save(const QString &name, const QImage &image, const QJsonArray &texts = {})
{
    image.save(name + ".png");
    QFile file(name + ".json");
    if (file.open(QIODevice::WriteOnly))
        file.write(QJsonDocument(texts).toJson());
    std::printf("%s.png\n", qPrintable(QDir::current().filePath(name)));
    std::fflush(stdout);
}

/// A picture of what is on the screen, once it stays as it is.
void shot(const QString &name)
{
    QImage image;
    QElapsedTimer quiet;
    for (const QDeadlineTimer end(longestWaitMs);
         !end.hasExpired() && !(quiet.isValid() && quiet.hasExpired(quietMs)); QThread::msleep(pollMs)) {
        if (const QImage now = inGui(screen); now != image) {
            image = now;
            quiet.start();
        }
    }
    save(name, image, inGui(texts));
}

void shotOfDialog(const char *widget, const QString &name)
{
    waitFor(widget);
    shot(name);
    dismiss(widget);
}

/// Somebody who goes through all pages of the program, and leaves a picture of each in the present folder.
/// Photos are expected in "Photos" at home. Widgets are found by their names, as long as they can be seen.
///
/// A thread of its own, since dialogs keep the GUI thread in their event loops; what concerns widgets is done
/// there.
class Visitor : public QThread
{
public:
    ~Visitor() override { wait(); }

protected:
    void run() override
    {
        waitFor("MainWindow");
        inGui([] { mainWindow()->setGeometry(80, 60, 1100, 720); });
        shot("empty");
        for (const char *folder : {"Evenings", "Favourites", "Landscapes"})
            drop(folder);
        visitBrowser();
        visitDialogs();
        visitViewer();
        if (isVisible("pdfButton"))
            visitBatchTools();
        drop("Night");
        open(0);
        shot("viewer-dark-photo");
        click("cropButton");
        shot("viewer-crop-dark-photo");
        inGui([] { QTimer::singleShot(0, qApp, &QApplication::closeAllWindows); });
    }

private:
    void visitBrowser()
    {
        tick({1, 4, 6});
        shot("browser-check-boxes");
        tick({1, 4, 6});
        click("hideCheckboxButton");
        shot("browser");
        click("plusButton");
        shot("browser-large");
        click("minButton");
        click("slideShowButton");
        shotOfDialog("SlideShowForm", "slideshow");
        click("optionsButton");
        waitFor("OptionsDialog");
        shot("options-dialog");
        click("bkColorButton");
        shotOfDialog("ColourDialog", "colour-dialog");
        dismiss("OptionsDialog");
        click("aboutButton");
        shotOfDialog("AboutDialog", "about-dialog");
        begin([] { QMetaObject::invokeMethod(seen("ThumbsForm"), "showKeys"); });
        shotOfDialog("KeysDialog", "keys-dialog");
    }

    void visitDialogs()
    {
        select(1); // which is among the favourites, too
        click("deleteButton");
        shotOfDialog("VistamoDeleteDialog", "delete-dialog");
        chooseOfFile("Rename...");
        shotOfDialog("VistamoRenameDialog", "rename-dialog");
        chooseOfFile("Copy to...");
        answerWithFolder("Favourites");
        shotOfDialog("VistamoOverwriteFileDialog", "overwrite-dialog");
    }

    void visitViewer()
    {
        const auto inEachMode = [](const QString &suffix) {
            for (const auto &[button, name] :
                 {std::pair("fitVHButton", "fit"), std::pair("fitHButton", "fit-width"),
                  std::pair("fitVButton", "fit-height"), std::pair("fullButton", "real-size")}) {
                click(button);
                shot("viewer-" + QString(name) + suffix);
            }
            click("fitVHButton");
        };
        open(1);
        inEachMode("");
        click("galleryButton");
        inEachMode("-no-strip");
        click("galleryButton");
        click("cropButton");
        shot("viewer-crop");
        click("cropButton");
        for (const char *colours : {"Grayscale", "Sepia"}) {
            choose(colours);
            shot("viewer-" + QString(colours).toLower());
            choose("Reset Image");
        }
        choose("Contrast");
        for (const auto &[slider, change] : {std::pair("contrast", 40), std::pair("brightness", 30),
                                             std::pair("gamma", 60), std::pair("invertColors", 100)}) {
            QSlider *const moved = find<QSlider>(slider + QString("Slider"));
            const int before = inGui([=] { return moved->value(); });
            inGui([=, change = change] { moved->setValue(before + change); });
            shot("viewer-" + QString(slider));
            inGui([=] { moved->setValue(before); });
        }
        dismiss("VistamoFilterDialog");
        click("closeButton");
    }

    void visitBatchTools()
    {
        click("showCheckboxButton");
        tick({0, 1, 2, 3, 4});
        click("pdfButton");
        select(1, "sourceTreeView");
        shot("pdf-list");
        doubleClick("previewImage");
        shotOfDialog("ImagesToPDFPreviewDialog", "preview-dialog");
        click("createPdfButton");
        answer("Album.pdf");
        waitFor(messageText);
        shot("pdf-message");
        dismiss(messageText, Qt::Key_Return);
        click("clearButton");
        shot("pdf-empty");
        click("backButton");
        click("convertButton");
        select(1, "sourceTreeView");
        shot("convert-list");
        click("createPdfButton");
        waitFor("ImagesToPDFProgressForm");
        save("progress", inGui(screen));
        dismiss(messageText, Qt::Key_Return);
        click("createPdfButton");
        waitFor("OverwriteFileDialog");
        shot("convert-overwrite-dialog");
        click("cancelButton");
        waitForTheEndOf("OverwriteFileDialog");
        click("backButton");
        click("hideCheckboxButton");
    }
};

} // namespace

/// Found by Qt where QT_QPA_GENERIC_PLUGINS names it: the program needs to know nothing of it.
class Screenshots : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "screenshots.json")

public:
    QObject *create(const QString &, const QString &) override
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs); // which nobody could answer
        auto *const visitor = new Visitor;
        QTimer::singleShot(0, visitor, [visitor] { visitor->start(); });
        return visitor;
    }
};

#include "Screenshots.moc"
