#include "batch/ScrollingColumn.h"
#include "shared/dialogs/ElidedLabel.h"
#include "support/Program.h"

#include <QAccessible>

#ifndef Q_OS_WIN
#    include <QtDBus>
#endif

#ifndef Q_OS_WIN
namespace {

/// A part of the window as a screen reader has it.
struct Part
{
    QString role;
    QString name;
    QString description;
    bool isControl = false; ///< a button, or takes the focus
    QList<Part> children;

    /// As text, a line for each part.
    [[nodiscard]] QString text(const QString &indent = {}) const
    {
        QString lines = indent + role + " \"" + name + "\" " + description + '\n';
        for (const Part &child : children)
            lines += child.text(indent + "  ");
        return lines;
    }
};

/// What is wrong with the names of a part: a widget that takes the focus, or a button, without a name or a
/// description of its own, or called as another.
void findFaults(const Part &part, QStringList &names, QStringList &faults)
{
    if (part.isControl) {
        const QString text = part.name + " (" + part.description + ')';
        if (part.name.isEmpty() || part.name == "Enable")
            faults.append("nameless: " + text);
        if (part.description.isEmpty() && part.role != "page tab list")
            faults.append("not described: " + text);
        if (names.contains(part.name))
            faults.append("called as another: " + text);
        names.append(part.name);
    }
    for (const Part &child : part.children)
        findFaults(child, names, faults);
}

/// Reads the program from outside, over the bus of the screen readers.
class ReaderBus
{
public:
    ReaderBus()
    {
        const QDBusConnection session = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "session");
        const QVariantList address =
            ask(session, {"org.a11y.Bus", "/org/a11y/bus"}, "org.a11y.Bus", "GetAddress");
        bus = QDBusConnection::connectToBus(address.value(0).toString(), "readers");
    }

    /// @param hiddenToo also the parts that are not on show
    [[nodiscard]] QList<Part> programs(bool hiddenToo) const
    {
        return childrenOf({"org.a11y.atspi.Registry", root}, hiddenToo);
    }

private:
    struct Place
    {
        QString service;
        QString path;
    };

    /// The answer comes from this same process: its event loop goes on.
    static QVariantList ask(const QDBusConnection &on, const Place &place, const QString &interface,
                            const QString &method, const QVariantList &arguments = {})
    {
        QDBusMessage call = QDBusMessage::createMethodCall(place.service, place.path, interface, method);
        call.setArguments(arguments);
        const QDBusPendingCallWatcher answer(on.asyncCall(call));
        QEventLoop loop;
        QObject::connect(&answer, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
        loop.exec();
        return answer.isError() ? QVariantList() : answer.reply().arguments();
    }
    [[nodiscard]] QVariantList ask(const Place &place, const QString &method) const
    {
        return ask(bus, place, accessible, method);
    }
    [[nodiscard]] bool is(const Place &place, uint state) const
    {
        return qdbus_cast<QList<uint>>(ask(place, "GetState").value(0)).value(0) & 1U << state;
    }
    [[nodiscard]] QList<Part> childrenOf(const Place &place, bool hiddenToo) const
    {
        QList<Part> children;
        const QVariantList answer = ask(place, "GetChildren");
        if (answer.isEmpty()) // it has gone meanwhile
            return children;
        const auto places = answer[0].value<QDBusArgument>();
        for (places.beginArray(); !places.atEnd();) {
            Place child;
            QDBusObjectPath path;
            places.beginStructure();
            places >> child.service >> path;
            places.endStructure();
            child.path = path.path();
            if (constexpr uint visible = 30; hiddenToo || place.path == root || is(child, visible))
                children.append(partOf(child, hiddenToo));
        }
        places.endArray();
        return children;
    }
    [[nodiscard]] Part partOf(const Place &place, bool hiddenToo) const
    {
        constexpr uint focusable = 11;
        const auto value = [&](const char *name) {
            const QVariantList of = {accessible, name};
            const QVariant answer = ask(bus, place, "org.freedesktop.DBus.Properties", "Get", of).value(0);
            return answer.value<QDBusVariant>().variant().toString();
        };
        const QString role = ask(place, "GetRoleName").value(0).toString();
        const bool isCell =
            role == "cell" || role.endsWith(" item") || role.endsWith(" header") || role == "page tab";
        return {role, value("Name"), value("Description"),
                role.contains("button") || role == "check box" || (!isCell && is(place, focusable)),
                isCell ? QList<Part>() : childrenOf(place, hiddenToo)};
    }

    const QString root = "/org/a11y/atspi/accessible/root"; ///< a program, or all of them
    const QString accessible = "org.a11y.atspi.Accessible";
    QDBusConnection bus = QDBusConnection("");
};

} // namespace
#endif

/// The program for who does not see it.
class AccessibilityTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        VistamoGlobal::showPdfAndConvertButtons = true;
        newFolder({"first", "second"});
        Pictures::save(path("first/a name of many letters.png"), QSize(90, 60));
        Pictures::save(path("first/other.png"), QSize(60, 40));
        Pictures::save(path("second/other.png"), QSize(60, 40));
        choosesFolder(path("second"));
    }
    void cleanup()
    {
        end();
        QApplication::setFont(font);
        QApplication::setLayoutDirection(Qt::LeftToRight);
    }

    void everythingHasRoomForItsText_data()
    {
        QTest::addColumn<int>("times");
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("as it is") << 1 << Qt::LeftToRight;
        QTest::newRow("twice the font") << 2 << Qt::LeftToRight;
        QTest::newRow("twice the font, right to left") << 2 << Qt::RightToLeft;
    }

    void everythingHasRoomForItsText()
    {
        QFETCH(int, times);
        QFETCH(Qt::LayoutDirection, direction);
        constexpr qreal usualPoints = 10; // of desktops
        QFont large = font;
        large.setPointSizeF(std::max(font.pointSizeF(), times == 1 ? 0 : usualPoints) * times);
        QApplication::setFont(large);
        QApplication::setLayoutDirection(direction);
        goThrough([](QWidget *window, const char *) { check(window); });
    }

    void readersFindItAllOnTheirBus()
    {
#ifdef Q_OS_WIN
        QSKIP("Readers have another way there.");
#else
        const ReaderBus bus;
        goThrough([&](const QWidget *window, const char *part) {
            const bool isDialog = window != program->window.get();
            const bool hiddenToo = !isDialog && !program->window->findChild<QWidget *>("ImagesToPDFForm");
            QTRY_VERIFY(!bus.programs(hiddenToo).isEmpty());
            const QList<Part> programs = bus.programs(hiddenToo);
            QCOMPARE(programs.size(), 1);
            Part read = programs[0];
            for (const Part &its : programs[0].children)
                if (isDialog && its.name == window->windowTitle())
                    read = its;
            QVERIFY2(!isDialog || read.name == window->windowTitle(), part);
            qInfo().noquote() << read.text();
            QStringList names;
            QStringList faults;
            findFaults(read, names, faults);
            QCOMPARE(faults.join("; "), QString());
            QVERIFY2(read.text().contains(part), part);
        });
#endif
    }

    void filesAndFoldersSayWhichTheyAre()
    {
        start({path("first"), path("second")}, 2);
        program->tick("other.png");
        const auto said = [this](const char *view, int row, int column) {
            const QAccessibleInterface *const cell =
                QAccessible::queryAccessibleInterface(program->find(view))
                    ->tableInterface()
                    ->cellAt(row, column);
            return cell->text(QAccessible::Name) + " | " + cell->text(QAccessible::Description);
        };
        QCOMPARE(said("mainListView", 0, 0), "a name of many letters.png | 1 of 2");
        QCOMPARE(said("mainListView", 1, 0), "other.png | 2 of 2, ticked");
        for (const auto *const button : program->find("widget1")->findChildren<QAbstractButton *>())
            QVERIFY2(!button->isVisible() || !button->toolTip().isEmpty(), qPrintable(button->objectName()));
        QCOMPARE(said("sideTreeView", 0, 0), "first | 1 of 2, " + QDir::toNativeSeparators(path("first")));
        program->open(0);
        QTRY_COMPARE(program->find("scrollArea")->accessibleName(),
                     "a name of many letters.png, 90 by 60 pixels, 1 of 2");
        program->click("forwardButton");
        QTRY_COMPARE(program->find("scrollArea")->accessibleName(), "other.png, 60 by 40 pixels, 2 of 2");
        QCOMPARE(said("galleryTableView", 0, 1), "other.png | 2 of 2, ticked");
    }

private:
    /// Shows each page and dialog, and gives its window with something of what a reader is to find there.
    void goThrough(const std::function<void(QWidget *window, const char *part)> &look)
    {
        start({}, 0);
        look(program->window.get(), "push button \"Add a folder\"");
        program.reset();
        start({path("first"), path("second")}, 2);
        program->tick("other.png");
        look(program->window.get(), "other.png");
        program->choose(0);
        for (const auto &[slot, part] : {std::pair("onRenameAction", "push button \"Rename\""),
                                         {"on_deleteButton_clicked", "push button \"Apply\""},
                                         {"on_optionsButton_clicked", "push button \"Change"},
                                         {"on_aboutButton_clicked", "push button \"Close\""},
                                         {"showKeys", "\"Keys\""},
                                         {"onCopytoAction", "push button \"Overwrite\""}}) { // over another
            dialogsSeen = 0;
            whenDialog([&look, part = part](QWidget *dialog) { look(dialog, part); });
            program->call(slot);
            QTRY_COMPARE(dialogsSeen, 1);
        }
        program->open(0);
        program->click("cropButton");
        look(program->window.get(), "other.png");
        // Photos have the same sides everywhere.
        QVERIFY(program->find("backButton")->x() < program->find("forwardButton")->x());
        program->call("onContrastAction");
        look(program->find("VistamoFilterDialog"), "slider \"Contrast\"");
        program->click("closeButton");
        for (const auto &[button, part] : {std::pair("pdfButton", "push button \"Remove Image\""),
                                           {"convertButton", "combo box \"PNG\""}}) {
            program->click(button);
            look(program->window.get(), part);
            program->call("onCloseToolWidget");
            QTRY_VERIFY(!program->window->findChild<QWidget *>("ImagesToPDFForm"));
        }
    }
    static void check(QWidget *window)
    {
        QTRY_COMPARE(clippedIn(window).join("; "), QString());
        const auto labels = window->findChildren<QLabel *>();
        for (const QWidget *const field : window->findChildren<QWidget *>()) {
            const bool isPart = !qobject_cast<const QLineEdit *>(field)
                                || qobject_cast<const QAbstractSpinBox *>(field->parentWidget());
            if (isFieldOrButton(field) ? !qobject_cast<const QAbstractButton *>(field) : !isPart)
                QVERIFY2(std::any_of(labels.begin(), labels.end(),
                                     [&](const QLabel *label) { return label->buddy() == field; }),
                         qPrintable(field->objectName()));
        }
    }
    /// The labels, buttons and fields that are smaller than their texts, or reach out of what they stand in.
    static QStringList clippedIn(const QWidget *window)
    {
        QStringList clipped;
        for (const auto *const widget : window->findChildren<QWidget *>()) {
            const auto *const label = qobject_cast<const QLabel *>(widget);
            if (!widget->isVisible() || !(label ? !label->text().isEmpty() : isFieldOrButton(widget)))
                continue;
            QSize text = widget->sizeHint();
            if (widget->hasHeightForWidth())
                text = QSize(0, widget->heightForWidth(widget->width()));
            else if (qobject_cast<const ElidedLabel *>(widget))
                text.setWidth(0);
            bool fits = text == text.boundedTo(widget->size());
            int scrolled = 0;
            for (const QWidget *part = widget; !part->isWindow();) {
                if (qobject_cast<const ScrollingColumn *>(part->parentWidget()->parentWidget()))
                    scrolled = QWIDGETSIZE_MAX;
                part = part->parentWidget();
                const QRect room = part->rect().adjusted(0, -scrolled, 0, scrolled);
                fits &= room.contains(QRect(widget->mapTo(part, QPoint()), widget->size()));
            }
            if (!fits)
                clipped.append(widget->objectName());
        }
        return clipped;
    }
    static bool isFieldOrButton(const QWidget *widget)
    {
        return qobject_cast<const QAbstractButton *>(widget) || qobject_cast<const QComboBox *>(widget)
               || qobject_cast<const QAbstractSpinBox *>(widget);
    }

    const QFont font = QApplication::font();
};

QTEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
