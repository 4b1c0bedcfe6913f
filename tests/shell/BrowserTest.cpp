#include "shared/StoppableThread.h"
#include "support/Program.h"

#include <QtTest>
#include <QtWidgets>

/// The browser page over real folders, in the real form.
class BrowserTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        QApplication::setStyle("Fusion");
        newFolder({"a", "b", "c"});
        Pictures::saveMany(path("a"), 30);
        Pictures::saveMany(path("b"), 5);
        programSettings().clear();
    }

    void cleanup() { end(); }

    void emptyProgramIsSafe()
    {
        start({}, 0);
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery");
        QVERIFY(program->find("noItemFrame")->isVisible());
        for (const char *const hidden : {"mainListView", "sideTreeView", "pathWidget"})
            QVERIFY2(!program->find(hidden)->isVisible(), hidden);
        for (const char *const disabled :
             {"openFileMinButton", "slideShowButton", "deleteButton", "minButton"})
            QVERIFY2(!program->find(disabled)->isEnabled(), disabled);
        addFolder(QString());
        QTimer::singleShot(100, [] { QApplication::activeModalWidget()->close(); }); // the options
        for (const char *const button : {"optionsButton", "plusButton", "minButton", "hideCheckboxButton",
                                         "showCheckboxButton", "slideShowButton", "openFileMinButton"})
            program->click(button);
        QVERIFY(program->find("noItemFrame")->isVisible());
    }

    void nonsenseInTheSettings()
    {
        QSettings settings = programSettings();
        for (const QVariant &nonsense : {QVariant("x"), QVariant(-7), QVariant(4), QVariant(INT_MAX),
                                         QVariant(QByteArray("\0\xff", 2))}) {
            for (const char *const key :
                 {"posX", "posY", "width", "height", "imageScale", "showGallery", "showCheckbox", "iconSize",
                  "exportImagePath", "folderListCount", "folderList0", "folderList1"})
                settings.setValue(QStringLiteral("General/") + key, nonsense);
            settings.sync();
            const Program program;
            QVERIFY(program.find("noItemFrame")->isVisible());
            QVERIFY(program.list()->iconSize().width() <= 1024);
            QVERIFY(VistamoGlobal::iconSize == 128 || VistamoGlobal::iconSize == 256);
            QVERIFY(program.find<QToolButton>("fitVHButton")->isChecked());
        }
    }

    void folderListIsRestored()
    {
        start({path("b"), path("gone"), path("a")}, 5); // the top of the list is on show
        QCOMPARE(program->tree(), QStringList({"b", "a"}));
        for (int i = 0; i < 20; ++i) {
            QVERIFY(QDir(folder->path()).mkdir(QString::number(i)));
            addFolder(path(QString::number(i)));
        }
        QCOMPARE(program->tree().size(), 22);
        program.reset();
        // Twenty are kept; the oldest are lost.
        const QStringList kept = Program().tree();
        QCOMPARE(kept.size(), 20);
        QCOMPARE(kept.first(), "19");
        QCOMPARE(kept.last(), "0");
    }

    void foldersAreAddedAndRemoved()
    {
        start({}, 0);
        addFolder(path("a"));
        addFolder(path("b"));
        addFolder(path("A")); // a difference in case is no new folder
        QCOMPARE(program->tree(), QStringList({"b", "a"}));

        // Another folder is removed than the one being read: that one is read to its end all the same.
        selectFolder(1);
        auto *const view = program->find<QTreeView>("sideTreeView");
        view->setCurrentIndex(view->model()->index(0, 0));
        program->click("openFileMinButton");
        QTRY_COMPARE(program->tree(), QStringList("a"));
        QTRY_VERIFY(program->settled() && program->rows() == 30);
        QVERIFY(program->find("sideTreeView")->isVisible());
        QTest::qWait(1200); // nothing is left behind after a second
        QVERIFY(!StoppableThread::someLeftBehind);

        program->click("openFileMinButton");
        QTRY_VERIFY(program->find("noItemFrame")->isVisible());
        QCOMPARE(program->rows(), 0);
        QVERIFY(VistamoGlobal::fileDataList.isEmpty());
        program->click("hideCheckboxButton");
        QVERIFY(program->find("noItemFrame")->isVisible());
    }

    void listIsThatOfTheDisk()
    {
        write("a/broken.jpg", "broken");
        Pictures::save(path("a/turned.jpg"), QSize(300, 600), 6);
        start({path("a")}, 32);
        const auto check = [&] {
            const QStringList expected = disk("a");
            QTRY_VERIFY(program->settled() && program->rows() == expected.size());
            QCOMPARE(sortedNames(), expected);
            auto *const strip = program->find<QAbstractItemView>("galleryTableView")->model();
            QCOMPARE(strip->columnCount(), expected.size());
            for (int row = 0; row < program->rows(); ++row) {
                const TFileRecord &record = VistamoGlobal::fileDataList[row];
                const QModelIndex index = program->list()->model()->index(row, 0);
                QCOMPARE(index.data().toString().remove('\n'), record.fileName);
                QCOMPARE(strip->index(0, row).data(), index.data());
                const auto icon = index.data(Qt::DecorationRole).value<QIcon>();
                QCOMPARE(Pictures::quartersOf(icon.pixmap(256, 256).toImage().copy(record.imageRect)),
                         record.fileName == "broken.jpg" ? "? ? ? ?" : "red green blue yellow");
            }
            QTRY_COMPARE(program->text("pathValueLabel"),
                         QStringLiteral("Total: %1   Path: %2").arg(expected.size()).arg(path("a")));
        };
        check();
        // The folder changes: the list follows.
        QVERIFY(QFile::remove(path("a/0003.jpg")));
        QVERIFY(QFile::rename(path("a/0004.jpg"), path("a/a much longer name.jpg")));
        Pictures::save(path("a/new.png"));
        Pictures::save(path("a/other.png"));
        check();

        // Without their boxes the items move together, and again apart with them.
        const auto pitch = [this] {
            return program->list()->visualRect(program->list()->model()->index(1, 0)).left();
        };
        const int withBoxes = pitch();
        program->click("hideCheckboxButton");
        QTRY_VERIFY(pitch() < withBoxes);
        program->click("showCheckboxButton");
        QTRY_COMPARE(pitch(), withBoxes);
    }

    void lastOfSeveralFoldersIsLoaded()
    {
        Pictures::saveMany(path("c"), 3, QSize(3000, 2000));
        Program::setFolders({path("a"), path("b"), path("c")});
        program = std::make_unique<Program>();
        for (const int row : {1, 2, 0, 2, 1})
            selectFolder(row);
        QTRY_VERIFY(program->settled() && program->rows() == 5);
        QTest::qWait(200); // no answer for another folder comes after
        QCOMPARE(program->rows(), 5);
        QCOMPARE(VistamoGlobal::fileDataList.first().path, path("b"));
    }

    void stormOfChangesEndsWithTheDisk()
    {
        start({path("b")}, 5);
        QProcess storm;
        storm.setWorkingDirectory(path("b"));
        storm.start("/bin/sh", {"-c", "i=0; while [ $i -lt 10000 ]; do i=$((i+1)); echo x >s$i.jpg; done; "
                                      "for f in s*5.jpg; do mv $f t$f; done; rm s*[1-4].jpg"});
        while (!storm.waitForFinished(0) && storm.state() != QProcess::NotRunning) {
            QTest::qWait(20);
            program->open(program->rows() - 1);
            QTest::keyClick(program->window.get(), Qt::Key_Right);
            program->click("closeButton");
        }
        QCOMPARE(storm.exitCode(), 0);
        const QStringList expected = disk("b");
        QCOMPARE(expected.size(), 6005);
        QTRY_VERIFY_WITH_TIMEOUT(sortedNames() == expected && program->rows() == expected.size(), 30000);
    }

    void filesThatVanishAreSafe()
    {
        start({path("b")}, 5);
        program->open(4);
        QVERIFY(QDir(path("b")).removeRecursively());
        QTRY_COMPARE(program->rows(), 0);
        for (const char *const button :
             {"backButton", "forward2Button", "back2Button", "fullButton", "fitHButton"})
            program->find<QToolButton>(button)->click();
        for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right})
            QTest::keyClick(program->window.get(), key);
        emit program->find<QAbstractItemView>("galleryTableView")->clicked(QModelIndex());
        program->click("closeButton");
        QTRY_COMPARE(program->text("pathValueLabel"), "Total: 0   Path: " + path("b"));
    }

private:
    /// Chooses a folder by the button.
    void addFolder(const QString &chosen) const
    {
        choosesFolder(chosen);
        program->click("openFileAddButton");
    }
    QStringList sortedNames() const
    {
        QStringList names = program->fileNames();
        names.sort();
        return names;
    }
    void selectFolder(int row) const
    {
        auto *const view = program->find<QTreeView>("sideTreeView");
        view->setCurrentIndex(view->model()->index(row, 0));
        emit view->clicked(view->currentIndex());
    }
};

QTEST_MAIN(BrowserTest)
#include "BrowserTest.moc"
