#include "support/Program.h"

#include <QAccessible>

namespace {

/// What is wrong with the names in a part of the window: a widget that takes the focus, or a button, without
/// a name or a description of its own, or called as another.
void findFaults(QAccessibleInterface *part, QStringList &names, QStringList &faults)
{
    const QAccessible::State state = part->state();
    if (state.invisible)
        return;
    const bool isButton = part->role() == QAccessible::Button || part->role() == QAccessible::ButtonMenu
                          || part->role() == QAccessible::CheckBox;
    const bool isCell = part->tableCellInterface();
    if (isButton || (state.focusable && part->object())) {
        const QString name = part->text(QAccessible::Name);
        const QString text = name + " (" + part->object()->objectName() + ')';
        if (name.isEmpty() || name == "Enable")
            faults.append("nameless: " + text);
        if (part->text(QAccessible::Description).isEmpty() && part->role() != QAccessible::PageTabList)
            faults.append("not described: " + text);
        if (names.contains(name))
            faults.append("called as another: " + text);
        names.append(name);
    }
    for (int i = 0; !isCell && i < part->childCount(); ++i)
        if (QAccessibleInterface *const child = part->child(i))
            findFaults(child, names, faults);
}

} // namespace

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
    }
    void cleanup() { end(); }

    void everythingHasANameOfItsOwn()
    {
        start({}, 0);
        check(program->window.get());
        start({path("first"), path("second")}, 2);
        check(program->window.get());
        const auto dialogIsNamed = [this](const char *button) {
            whenDialog([this](QWidget *dialog) { check(dialog); });
            program->click(button);
        };
        dialogIsNamed("optionsButton");
        dialogIsNamed("aboutButton");
        program->tick("other.png");
        dialogIsNamed("deleteButton");
        program->choose(0);
        whenDialog([this](QWidget *dialog) { check(dialog); });
        program->call("onRenameAction");
        whenDialog([this](QWidget *dialog) { check(dialog); });
        program->call("showKeys");
        whenDialog([this](QWidget *dialog) { check(dialog); });
        const QStringList paths = {path("first/other.png")};
        program->call("handleOverwriteFiles", Q_ARG(QStringList, paths), Q_ARG(QStringList, paths));
        program->open(0);
        program->click("cropButton");
        check(program->window.get());
        program->call("onContrastAction");
        check(program->find("VistamoFilterDialog"));
        program->click("closeButton");
        for (const char *const button : {"pdfButton", "convertButton"}) {
            program->click(button);
            check(program->window.get());
            program->call("onCloseToolWidget");
        }
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
        QCOMPARE(said("sideTreeView", 0, 0), "first | " + QDir::toNativeSeparators(path("first")));
        program->open(0);
        QTRY_COMPARE(program->find("scrollArea")->accessibleName(),
                     "a name of many letters.png, 90 by 60 pixels, 1 of 2");
        program->click("forwardButton");
        QTRY_COMPARE(program->find("scrollArea")->accessibleName(), "other.png, 60 by 40 pixels, 2 of 2");
        QCOMPARE(said("galleryTableView", 0, 1), "other.png | 2 of 2");
    }

private:
    static void check(QWidget *window)
    {
        QStringList names;
        QStringList faults;
        findFaults(QAccessible::queryAccessibleInterface(window), names, faults);
        QCOMPARE(faults.join("; "), QString());
        QVERIFY(!names.isEmpty());
    }
};

QTEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
