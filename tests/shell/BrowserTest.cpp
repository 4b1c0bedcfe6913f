#include "shared/DialogSeam.h"
#include "support/Pictures.h"
#include "support/Program.h"

#include <QDir>
#include <QLabel>
#include <QProcess>
#include <QSqlQuery>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>

/// The browser page over real folders, in the real form.
class BrowserTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void emptyProgramIsSafe();
    void nonsenseInTheSettings();
    void folderListIsRestored();
    void foldersAreAddedAndRemoved();
    void listIsThatOfTheDisk();
    void lastOfSeveralFoldersIsLoaded();
    void ticksSurvive();
    void iconSizes();
    void stormOfChangesEndsWithTheDisk();
    void filesThatVanishAreSafe();

private:
    QString path(const QString &name) const { return folder->filePath(name); }
    void answerWith(const QString &chosen)
    {
        DialogSeam::setAnswerer([=](const DialogSeam::Question &question) -> std::optional<QVariant> {
            return question.title == "Select Folder ..." ? std::optional<QVariant>(chosen) : std::nullopt;
        });
    }
    static void selectFolder(const Program &program, int row)
    {
        auto *const tree = program.find<QTreeView>("sideTreeView");
        const QModelIndex index = tree->model()->index(row, 0);
        tree->setCurrentIndex(index);
        emit tree->clicked(index);
    }

    std::unique_ptr<QTemporaryDir> folder;
};

void BrowserTest::initTestCase()
{
    QApplication::setStyle("Fusion");
}

void BrowserTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    for (const char *const name : {"a", "b", "c"})
        QVERIFY(QDir(folder->path()).mkdir(name));
    Pictures::saveMany(path("a"), 30);
    Pictures::saveMany(path("b"), 5);
    VistamoGlobal::checkedItemList.clear();
    programSettings().clear();
}

void BrowserTest::emptyProgramIsSafe()
{
    const Program program;
    QCOMPARE(program.window->windowTitle(), "Orrelan Gallery");
    QVERIFY(program.find("noItemFrame")->isVisible());
    QCOMPARE(program.find<QLabel>("noItemLabel")->text(), "Drop images here");
    for (const char *const hidden :
         {"mainListView", "sideTreeView", "pathWidget", "toolsButton", "pdfButton", "convertButton"})
        QVERIFY2(!program.find(hidden)->isVisible(), hidden);
    for (const char *const disabled : {"openFileMinButton", "slideShowButton", "deleteButton"})
        QVERIFY2(!program.find(disabled)->isEnabled(), disabled);
    answerWith(QString());
    for (QToolButton *const button : program.find("widget1")->findChildren<QToolButton *>()) {
        if (button->isVisible() && button->objectName() != "aboutButton"
            && button->objectName() != "webButton")
            button->click();
    }
    QVERIFY(program.find("noItemFrame")->isVisible());

    // An image dropped on the empty program opens in the viewer, and its folder joins the list.
    Pictures::save(path("a/dropped.png"));
    QMetaObject::invokeMethod(program.find("ThumbsForm"), "onAddFolder", Q_ARG(QString, path("a")),
                              Q_ARG(QString, "dropped.png"));
    QVERIFY(program.find("widget2")->isVisible());
    QTRY_COMPARE(program.find<QLabel>("sizeInfoLabel")->text(), "60x40");
    QTRY_VERIFY(program.settled() && program.rows() == 31);
    QTRY_COMPARE(program.fileNames().value(program.list()->currentIndex().row()), "dropped.png");
}

void BrowserTest::nonsenseInTheSettings()
{
    for (const QVariant &nonsense :
         {QVariant("x"), QVariant(-7), QVariant(INT_MAX), QVariant(QByteArray("\0\xff", 2))}) {
        QSettings settings = programSettings();
        settings.beginGroup("General");
        for (const char *const key :
             {"posX", "posY", "width", "height", "imageScale", "showGallery", "showCheckbox", "iconSize",
              "exportImagePath", "folderListCount", "folderList0", "folderList1"})
            settings.setValue(key, nonsense);
        settings.endGroup();
        settings.sync();
        const Program program;
        QVERIFY(program.find("noItemFrame")->isVisible());
        QVERIFY(program.list()->iconSize().width() <= 1024);
        QVERIFY(VistamoGlobal::iconSize == 128 || VistamoGlobal::iconSize == 256);
        QVERIFY(program.find<QToolButton>("fitVHButton")->isChecked());
    }
    QSettings settings = programSettings();
    settings.setValue("General/iconSize", 512);
    settings.setValue("General/imageScale", 7);
    settings.sync();
    Program();
    settings.sync();
    QCOMPARE(settings.value("General/iconSize").toInt(), 256);
    QCOMPARE(settings.value("General/imageScale").toInt(), 0);
}

void BrowserTest::folderListIsRestored()
{
    QStringList folders = {path("b"), path("gone"), path("a")};
    for (int i = 0; i < 20; ++i) {
        QVERIFY(QDir(folder->path()).mkdir(QString::number(i)));
        folders.append(path(QString::number(i)));
    }
    Program::setFolders(folders.mid(0, 3));
    {
        const Program program;
        const QAbstractItemModel *const model = program.find<QTreeView>("sideTreeView")->model();
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->index(0, 0).data().toString(), "b");
        QCOMPARE(model->index(1, 0).data().toString(), "a");
        QTRY_COMPARE(program.rows(), 5); // the top of the list is on show
        for (const QString &added : folders.mid(3)) {
            answerWith(added);
            program.click("openFileAddButton");
        }
        QCOMPARE(model->rowCount(), 22);
    }
    // Twenty are kept; the oldest are lost.
    const Program program;
    const QAbstractItemModel *const model = program.find<QTreeView>("sideTreeView")->model();
    QCOMPARE(model->rowCount(), 20);
    QCOMPARE(model->index(0, 0).data().toString(), "19");
    QCOMPARE(model->index(19, 0).data().toString(), "0");
}

void BrowserTest::foldersAreAddedAndRemoved()
{
    const Program program;
    QAbstractItemModel *const tree = program.find<QTreeView>("sideTreeView")->model();
    for (const QString &added :
         {path("a"), path("b"), path("a").toUpper().replace(path("").toUpper(), path(""))}) {
        answerWith(added);
        program.click("openFileAddButton");
    }
    QCOMPARE(tree->rowCount(), 2); // a difference in case is no new folder
    QVERIFY(program.find("sideTreeView")->isVisible());

    selectFolder(program, 1);
    QTRY_COMPARE(program.rows(), 30);
    program.click("openFileMinButton"); // while it is being read, or after
    QTRY_COMPARE(tree->rowCount(), 1);
    QTRY_COMPARE(program.rows(), 5);
    QVERIFY(program.find("sideTreeView")->isVisible());
    program.click("openFileMinButton");
    QTRY_VERIFY(program.find("noItemFrame")->isVisible());
    QCOMPARE(program.rows(), 0);
    QVERIFY(VistamoGlobal::fileDataList.isEmpty());
    program.click("hideCheckboxButton");
    QVERIFY(program.find("noItemFrame")->isVisible());
}

void BrowserTest::listIsThatOfTheDisk()
{
    QFile broken(path("a/broken.jpg"));
    QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write("broken"));
    broken.close();
    Pictures::save(path("a/turned.jpg"), QSize(300, 600), 6);
    Program::setFolders({path("a")});
    const Program program;
    const auto check = [&](const QStringList &expected) {
        QTRY_VERIFY(program.settled() && program.rows() == expected.size());
        QStringList names = program.fileNames();
        names.sort();
        QCOMPARE(names, expected);
        auto *const strip = program.find<QAbstractItemView>("galleryTableView")->model();
        QCOMPARE(strip->columnCount(), expected.size());
        for (int row = 0; row < program.rows(); ++row) {
            const TFileRecord &record = VistamoGlobal::fileDataList[row];
            const QModelIndex index = program.list()->model()->index(row, 0);
            QCOMPARE(index.data().toString(), record.fileName);
            QCOMPARE(strip->index(0, row).data(), index.data());
            const QImage square = index.data(Qt::DecorationRole).value<QIcon>().pixmap(256, 256).toImage();
            const QString quarters = Pictures::quartersOf(square.copy(record.imageRect));
            QCOMPARE(quarters, record.fileName == "broken.jpg" ? "? ? ? ?" : "red green blue yellow");
        }
        QTRY_COMPARE(program.find<QLabel>("pathValueLabel")->text(),
                     QStringLiteral("Total: %1   Path: %2").arg(expected.size()).arg(path("a")));
    };
    const auto onDisk = [&] { return QDir(path("a")).entryList(QDir::Files, QDir::Name); };
    check(onDisk());
    QSqlQuery resolution("SELECT resolution FROM FileData WHERE fullPath LIKE '%turned.jpg'");
    QVERIFY(resolution.next());
    QCOMPARE(resolution.value(0).toString(), "300x600");
    resolution.finish(); // or this connection would not see what is added

    // The folder changes: the list follows.
    QVERIFY(QFile::remove(path("a/0003.jpg")));
    QVERIFY(QFile::rename(path("a/0004.jpg"), path("a/zz.jpg")));
    Pictures::save(path("a/new.png"));
    Pictures::save(path("a/other.png"));
    check(onDisk());
}

void BrowserTest::lastOfSeveralFoldersIsLoaded()
{
    Pictures::saveMany(path("c"), 3, QSize(3000, 2000));
    Program::setFolders({path("a"), path("b"), path("c")});
    const Program program;
    for (const int row : {1, 2, 0, 2, 1})
        selectFolder(program, row);
    QTRY_VERIFY(program.settled() && program.rows() == 5);
    QCOMPARE(VistamoGlobal::fileDataList.first().path, path("b"));
    QTest::qWait(200); // no answer for another folder comes after
    QCOMPARE(program.rows(), 5);
}

void BrowserTest::ticksSurvive()
{
    Program::setFolders({path("a"), path("b")});
    const Program program;
    QTRY_VERIFY(program.settled() && program.rows() == 30);
    auto *const model = qobject_cast<QStandardItemModel *>(program.list()->model());
    const QString ticked = VistamoGlobal::fileDataList[7].fileName;
    model->item(7)->setCheckState(Qt::Checked);
    emit program.list()->clicked(model->index(7, 0));
    emit program.list()->clicked(model->index(8, 0)); // beside the box
    QCOMPARE(VistamoGlobal::checkedItemList.size(), 1);

    selectFolder(program, 1);
    QTRY_VERIFY(program.settled() && program.rows() == 5);
    QVERIFY(program.find("deleteButton")->isEnabled());
    for (const char *const mode : {"hideCheckboxButton", "showCheckboxButton"}) {
        program.click(mode);
        QTRY_VERIFY(program.settled());
    }
    selectFolder(program, 0);
    QTRY_VERIFY(program.settled() && program.rows() == 30);
    for (int row = 0; row < program.rows(); ++row) {
        const bool isTicked = VistamoGlobal::fileDataList[row].fileName == ticked;
        QCOMPARE(model->item(row)->checkState(), isTicked ? Qt::Checked : Qt::Unchecked);
    }
    program.click("hideCheckboxButton");
    QVERIFY(!program.find("deleteButton")->isEnabled());
    program.list()->setCurrentIndex(model->index(0, 0));
    QVERIFY(program.find("deleteButton")->isEnabled());
}

void BrowserTest::iconSizes()
{
    const Program program;
    QVERIFY(!program.find("minButton")->isEnabled());
    program.click("plusButton");
    QCOMPARE(program.list()->iconSize(), QSize(256, 256));
    QVERIFY(!program.find("plusButton")->isEnabled());
    program.click("minButton");
    QCOMPARE(program.list()->iconSize(), QSize(128, 128));
}

void BrowserTest::stormOfChangesEndsWithTheDisk()
{
    Program::setFolders({path("b")});
    const Program program;
    QTRY_COMPARE(program.rows(), 5);
    QProcess storm;
    storm.setWorkingDirectory(path("b"));
    storm.start("/bin/sh", {"-c", "i=0; while [ $i -lt 10000 ]; do i=$((i+1)); echo x >s$i.jpg; done; "
                                  "for f in s*5.jpg; do mv $f t$f; done; rm s*[1-4].jpg"});
    while (!storm.waitForFinished(0) && storm.state() != QProcess::NotRunning) {
        QTest::qWait(20);
        emit program.list()->doubleClicked(program.list()->model()->index(program.rows() - 1, 0));
        QTest::keyClick(program.window.get(), Qt::Key_Right);
        program.click("closeButton");
    }
    QCOMPARE(storm.exitCode(), 0);
    const QStringList onDisk = QDir(path("b")).entryList(QDir::Files, QDir::Name);
    QCOMPARE(onDisk.size(), 6005);
    const auto equal = [&] {
        QStringList names = program.fileNames();
        names.sort();
        return names == onDisk && program.rows() == names.size();
    };
    QTRY_VERIFY_WITH_TIMEOUT(equal(), 30000);
}

void BrowserTest::filesThatVanishAreSafe()
{
    Program::setFolders({path("b")});
    const Program program;
    QTRY_VERIFY(program.settled() && program.rows() == 5);
    emit program.list()->doubleClicked(program.list()->model()->index(4, 0));
    QVERIFY(QDir(path("b")).removeRecursively());
    QTRY_COMPARE(program.rows(), 0);
    for (const char *const button :
         {"backButton", "forward2Button", "back2Button", "fullButton", "fitHButton"})
        program.find<QToolButton>(button)->click();
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right})
        QTest::keyClick(program.window.get(), key);
    emit program.find<QAbstractItemView>("galleryTableView")->clicked(QModelIndex());
    program.click("closeButton");
    QTRY_COMPARE(program.find<QLabel>("pathValueLabel")->text(), "Total: 0   Path: " + path("b"));
}

QTEST_MAIN(BrowserTest)
#include "BrowserTest.moc"
