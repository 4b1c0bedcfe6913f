#include "shared/image/ImageReading.h"
#include "shared/image/MemoryBudget.h"
#include "shared/threads/StoppableThread.h"
#include "support/Program.h"

#include <QtSql>

/// The browser page over real folders, in the real form.
class BrowserTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        QApplication::setPalette({});
        MemoryBudget::setBytes(1); // decodes go one by one, and wait while a test holds a share
        newFolder({"a", "b", "c"});
        Pictures::saveMany(path("a"), 30);
        Pictures::saveMany(path("b"), 5);
        programSettings().clear();
    }

    void cleanup()
    {
        memory.reset();
        end();
    }

    void settingsAreSavedAndRead()
    {
        const int width = QGuiApplication::primaryScreen()->size().width();
        const QString table =
            QStringLiteral("exportImagePath=%1/x.png folderList0=%1/a folderList1=%1/b folderListCount=2 "
                           "height=600 iconSize=256 imageScale=2 posX=12 posY=34 showCheckbox=false "
                           "showGallery=false width=%2")
                .arg(folder->path(), QString::number(width));
        Program::setFolders({path("b"), path("a")}, QRect(12, 34, 0, 600));
        QSettings settings = programSettings();
        settings.beginGroup("General");
        for (const bool chosen : {true, false}) {
            settings.setValue("width", 5000); // no wider than the screen
            program = std::make_unique<Program>();
            if (chosen) {
                VistamoGlobal::exportImagePath = path("x.png");
                for (const char *const button :
                     {"plusButton", "hideCheckboxButton", "galleryButton", "fitHButton"})
                    program->find<QToolButton>(button)->click();
            }
            QCOMPARE(program->window->geometry(), QRect(12, 34, width, 600));
            QCOMPARE(program->list()->iconSize(), QSize(256, 256));
            QVERIFY(program->find<QToolButton>("fitHButton")->isChecked());
            QVERIFY(program->find<QToolButton>("hideCheckboxButton")->isChecked());
            QVERIFY(program->strip()->isHidden());
            settings.remove({});
            program->window->close();
            program.reset();
            QStringList saved;
            for (const QString &key : settings.childKeys())
                saved.append(key + '=' + settings.value(key).toString());
            QCOMPARE(saved.join(' '), table);
        }

        for (const QVariant &nonsense : QVariantList{"x", -7, 4, INT_MAX, QByteArray("\0\xff", 2)}) {
            for (const QString &key : settings.childKeys())
                settings.setValue(key, nonsense);
            settings.sync();
            const Program program;
            QVERIFY(program.find("noItemFrame")->isVisible() && program.list()->iconSize().width() <= 1024);
            QVERIFY(VistamoGlobal::iconSize == 128 || VistamoGlobal::iconSize == 256);
            QVERIFY(program.find<QToolButton>("fitVHButton")->isChecked());
        }
    }

    void foldersAreAddedAndRemoved()
    {
        start({}, 0);
        whenDialog([](QWidget *) {}); // the options
        for (const char *const button : {"optionsButton", "plusButton", "minButton", "hideCheckboxButton",
                                         "showCheckboxButton", "slideShowButton", "openFileMinButton"})
            program->click(button); // with nothing to act on
        addFolder(QString());
        auto *const frame = program->find("noItemFrame"); // is a button
        QVERIFY(frame->isVisible());
        int asked = 0;
        DialogSeam::setAnswerer([&](const DialogSeam::Question &) { return ++asked, QString(); });
        QTest::mouseClick(frame, Qt::LeftButton);
        QTest::keyClick(frame, Qt::Key_Return);
        QCOMPARE(asked, 2);
        choosesFolder(path("a"));
        QTest::keyClick(frame, Qt::Key_Space);
        for (const char *const name : {"b", "b/", "A"}) // a slash or another case is no new folder
            addFolder(path(name));
        QCOMPARE(program->tree(), QStringList({"b", "a"}));
        program->click("openFileMinButton");
        QTRY_COMPARE(program->tree(), QStringList("b"));
        settle(5);
        program->click("openFileMinButton");
        QTRY_VERIFY(program->find("noItemFrame")->isVisible());
        QVERIFY(program->rows() == 0 && VistamoGlobal::fileDataList.isEmpty());

        // Twenty are kept, and restored if they are still there; the oldest are lost.
        for (int i = 0; i <= 20; ++i) {
            QVERIFY(QDir(folder->path()).mkdir(QString::number(i)));
            addFolder(path(QString::number(i)));
        }
        program.reset();
        QVERIFY(QDir(folder->path()).rmdir("7"));
        const QStringList kept = Program().tree();
        QVERIFY(kept.size() == 19 && kept.first() == "20" && kept.last() == "1");
    }

    void folderListIsStoredWhileOthersRun()
    {
        const auto stored = [this] {
            const QSettings settings = programSettings();
            const auto value = [&](const QString &of) { return settings.value("General/folderList" + of); };
            QStringList folders;
            for (int i = value("Count").toInt() - 1; i >= 0; --i)
                folders.append(relative(value(QString::number(i)).toString()));
            return folders;
        };
        // One is gone, the other away with its drive.
        start({path("a"), path("drive/x"), path("gone")}, 30);
        QCOMPARE(program->tree(), QStringList({"a", "x"}));
        addFolder(path("b"));
        QTRY_COMPARE(stored(), QStringList({"b", "a", "drive/x"}));
        // Another program adds a folder, removes one, and ends.
        Program::setFolders({path("theirs"), path("b"), path("a")});
        addFolder(path("c"));
        const QStringList all = {"c", "b", "a", "theirs"};
        QTRY_COMPARE(stored(), all);
        program->click("openFileMinButton");
        QTRY_COMPARE(stored(), all.mid(1));
        program.reset();
        QCOMPARE(stored(), all.mid(1));
    }

    void longNamesLeaveTheWindowAsItIs()
    {
        const QString deep = path(QStringLiteral("c/%1/%1/%1").arg(QString(140, 'x')));
        const QString name = Files::possibleName("<b>") + QString(150, 'y');
        QVERIFY(QDir().mkpath(deep));
        Pictures::save(deep + '/' + name + ".jpg");
        start({deep}, 1);
        QCOMPARE(text("pathValueLabel"), "Total: 1   Path: " + QDir::toNativeSeparators(deep));
        QCOMPARE(program->window->width(), 986);
        program->choose(0);
        whenDialog([&](QWidget *dialog) {
            QVERIFY(!program->find("oldNameValueLabel", dialog)->toolTip().startsWith("<b>"));
            QVERIFY(dialog->width() < 500);
        });
        program->call("onRenameAction");
    }

    void listIsThatOfTheDisk()
    {
        write("a/broken.jpg", "broken");
        Pictures::save(path("a/turned.jpg"), QSize(300, 600), 6);
        start({path("a")}, 32);
        // Pictures that are gone as they are to be painted are made again.
        QVERIFY(QSqlQuery(VistamoGlobal::thumbnailDatabase).exec("DELETE FROM FileData"));
        for (int row = 0; row < program->rows(); ++row)
            square(row); // more than are made at once
        QTRY_COMPARE(made("a").size(), 31);
        checkList("a");
        // The folder changes: the list follows.
        QVERIFY(QFile::remove(path("a/0003.jpg")) && QFile::remove(path("a/0007.jpg")));
        QVERIFY(QFile::rename(path("a/0004.jpg"), path("a/a much longer name.jpg")));
        Pictures::save(path("a/new.png"));
        checkList("a");
        for (const Qt::GlobalColor colour : {Qt::black, Qt::white}) {
            QApplication::setPalette(QColor(colour));
            QEvent change(QEvent::ThemeChange);
            QApplication::sendEvent(program->window.get(), &change);
            QCOMPARE(square(0).pixelColor(0, 0), QColor(colour)); // at once
            checkList("a");
        }

        // Without their boxes the items move together, and again apart with them.
        const auto pitch = [this] { return program->list()->visualRect(program->index(1)).left(); };
        const int withBoxes = pitch();
        program->click("hideCheckboxButton");
        QTRY_VERIFY(pitch() < withBoxes);
        program->click("showCheckboxButton");
        QTRY_COMPARE(pitch(), withBoxes);
        for (const auto &[step, size] : {std::pair(1, 256), {1, 256}, {-1, 128}}) { // the wheel, with Ctrl
            QVERIFY(QMetaObject::invokeMethod(program->list(), "zoomRequested", Q_ARG(int, step)));
            QCOMPARE(program->list()->iconSize().width(), size);
        }
    }

    void thumbnailsAreFoundInAnotherTimeZone()
    {
        const QByteArray before = qgetenv("TZ");
        Program::setFolders({path("b")});
        for (const char *const zone : {"Europe/Berlin", "Asia/Tokyo", "Asia/Tokyo", "Etc/GMT+5"}) {
            qputenv("TZ", zone);
            program = std::make_unique<Program>();
            checkList("b");
            QCOMPARE(made("b").size(), 5);
            program.reset();
        }
        before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
    }

    void pictureThatIsBeingWrittenIsMadeAgain()
    {
        Pictures::save(path("c/slow.jpg"), QSize(600, 400));
        Pictures::save(path("c/of tomorrow.jpg"));
        Pictures::age(path("c/of tomorrow.jpg"), -24 * 3600); // written on another clock
        const QByteArray whole = read("c/slow.jpg");
        write("c/slow.jpg", whole.first(whole.size() / 2));
        start({path("c")}, 2);
        QCOMPARE(VistamoGlobal::fileDataList[1].imageRect.size(), QSize(256, 171));
        QCOMPARE(made("c"), QStringList(path("c/of tomorrow.jpg")));
        write("c/slow.jpg", whole);
        QTRY_COMPARE(made("c").size(), 2);
        checkList("c");
    }

    void lastOfSeveralFoldersIsLoaded()
    {
        for (int i = 0; i < 3000; ++i)
            write(QStringLiteral("c/%1.jpg").arg(i), "x");
        start({path("a"), path("b"), path("c")}, 30);
        for (const QList<int> &picked : {QList<int>{2, 1, 2}, {1, 2, 0, 2, 1}, {2, 1, 0, 2}}) {
            for (const int row : picked)
                program->openFolder(row);
            checkNames(QStringLiteral("abc").mid(picked.last(), 1));
        }
        // Another folder is removed than the one being read: that one is read to its end all the same.
        show(1, 5);
        program->openFolder(2);
        QTRY_VERIFY(program->rows() > 0);
        auto *const view = program->find<QTreeView>("sideTreeView");
        view->setCurrentIndex(view->model()->index(1, 0));
        program->click("openFileMinButton");
        QTRY_COMPARE(program->tree(), QStringList({"a", "c"}));
        checkNames("c");
        QSignalSpy clicks(view, &QTreeView::clicked);
        for (const Qt::Key key : {Qt::Key_Home, Qt::Key_End, Qt::Key_Home})
            QTest::keyClick(view, key);
        checkNames("a");
        QCOMPARE(clicks.size(), 1);      // for the folder on which the keys have rested
        program->call("onRefreshTimer"); // the time of the threads that were stopped is over
        QVERIFY(!StoppableThread::someLeftBehind);
    }

    void answersGoToTheirFiles()
    {
        // The names of the other folder, but each of a shape of its own.
        for (int i = 0; i < 5; ++i)
            Pictures::save(path(QStringLiteral("c/000%1.jpg").arg(i)), QSize(60, 10 + 5 * i));
        start({path("b"), path("c")}, 5);
        int wrong = 0;
        connect(program->list()->model(), &QAbstractItemModel::dataChanged, this, [&] {
            for (const TFileRecord &file : VistamoGlobal::fileDataList) {
                const QSize size = ImageReading::thumbnailSize(QImageReader(file.fullPath).size(), 256);
                wrong += !file.imageRect.isNull() && file.imageRect.size() != size;
            }
        });
        // Of an earlier folder: they come after those of the folder on show, which does not wait for them.
        memory.emplace(1);
        program->openFolder(1);
        const QDir data(VistamoGlobal().getThumbnailsFolder());
        const QString journal = data.filePath(data.entryList({"decoding-*.journal"}).value(0));
        QTRY_VERIFY(Files::read(journal).contains("/c/0"));
        show(0, 5);
        QVERIFY(!StoppableThread::someLeftBehind);
        memory.reset();
        QTRY_VERIFY(!made("c").isEmpty());
        QVERIFY(!QTest::qWaitFor([&] { return wrong > 0; }, 300));
    }

    void picturesAreMadeWhereTheListIsScrolledTo()
    {
        Pictures::saveMany(path("c"), 300);
        Program::setFolders({path("c")});
        program = std::make_unique<Program>();
        memory.emplace(1);
        auto *const bar = program->list()->verticalScrollBar();
        QTRY_VERIFY(text("pathValueLabel").startsWith("Total: 300 ") && bar->maximum() > 0);
        bar->setValue(bar->maximum() / 2);
        memory.reset();
        const int inFlight = QThread::idealThreadCount() + 1; // before that
        QTRY_VERIFY(made("c").size() >= 60 + inFlight);
        int there = 0;
        for (const QString &name : made("c").first(60 + inFlight))
            there += qAbs(program->fileNames().indexOf(QFileInfo(name).fileName()) - 160) <= 55;
        QVERIFY(there >= 60);
    }

    void ticksBelongToTheirFiles()
    {
        start({path("a"), path("b")}, 30);
        const auto clickOn = [this](int row, Qt::KeyboardModifiers keys) {
            auto *const view = program->list()->viewport();
            const QRect item = program->list()->visualRect(program->index(row));
            QTest::mouseClick(program->window->windowHandle(), Qt::LeftButton, keys,
                              view->mapTo(program->window.get(), QPoint(item.left() + 9, item.center().y())));
        };
        for (const int row : {1, 2, 3, 2})
            clickOn(row, {});
        QCOMPARE(text("tickCountLabel"), "2 ticked, 2 of them here");
        for (const auto &[from, to, count] : {std::tuple(6, 4, 5), {4, 6, 2}}) {
            clickOn(from, {});
            clickOn(to, Qt::ShiftModifier); // all from there to here
            QCOMPARE(program->ticks().size(), count);
        }
        show(1, 5); // whose files have the same names
        QCOMPARE(program->ticks(), QStringList());
        QCOMPARE(text("tickCountLabel"), "2 ticked, 0 of them here");
        program->tick("0003.jpg");
        program->choose(3);
        QTest::keyClick(program->list(), Qt::Key_Space); // takes it off
        QCOMPARE(program->ticks(), QStringList());
        QCOMPARE(VistamoGlobal::checkedItemList.size(), 2);
        show(0, 30);
        QCOMPARE(program->ticks(), QStringList({"0001.jpg", "0003.jpg"}));
        // A tick whose file has another name now waits for it, and is no ticked file.
        QVERIFY(QFile::rename(path("a/0003.jpg"), path("a/other.jpg")));
        QTRY_COMPARE(text("tickCountLabel"), "1 ticked, 1 of them here");
        settle(30);
        // All of a folder are those, too, that are yet to be found.
        program->call("readAgain");
        program->openFolder(1);
        program->call("tickAll");
        QCOMPARE(program->rows(), 30); // of the folder before
        settle(5);
        QCOMPARE(program->ticks().size(), 5);
        QCOMPARE(text("tickCountLabel"), "6 ticked, 5 of them here");
        show(0, 30);
        program->call("readAgain");
        program->openFolder(1);
        program->call("untickAll");
        QCOMPARE(program->rows(), 30);
        settle(5);
        QCOMPARE(program->ticks(), QStringList());
        QCOMPARE(text("tickCountLabel"), "1 ticked, 0 of them here");
        show(0, 30);
        QVERIFY(QFile::rename(path("a/other.jpg"), path("a/0003.jpg")));
        QTRY_COMPARE(text("tickCountLabel"), "2 ticked, 2 of them here");
    }

    void listSaysWhyNothingIsSeen()
    {
        write("b/broken.jpg", "broken");
        start({path("a"), path("b"), path("c")}, 30);
        show(1, 6);
        const auto painted = [this](int row) {
            const QRect item = program->list()->visualRect(program->index(row));
            return program->list()->viewport()->grab(item).toImage();
        };
        const auto said = [this](int row) {
            return program->index(row).data(Qt::AccessibleDescriptionRole).toString();
        };
        QCOMPARE(said(4), "5 of 6");
        QCOMPARE(said(5), "6 of 6, cannot be shown");
        const QImage marked = painted(5);
        VistamoGlobal::fileDataList[5].imageRect = QRect(); // as while it is loading
        QVERIFY(painted(5) != marked);
        VistamoGlobal::fileDataList[5].imageRect = QRect(1, 1, 0, 0);
        // The strip keeps its columns until the next walk: no other photo takes the mark over.
        program->deleted(path("b/") + program->fileNames()[1]);
        QCOMPARE(VistamoGlobal::fileDataList[4].imageRect, QRect(1, 1, 0, 0));
        QCOMPARE(program->strip()->model()->index(0, 4).data(Qt::AccessibleDescriptionRole), "5 of 6");
        const auto whole = [this] { return program->list()->viewport()->grab().toImage(); };
        show(2, 0);
        const QImage empty = whole();
        write("c/notes.txt", "x"); // Wine tells of what happens within a folder alone
        QVERIFY(QDir().rename(path("c"), path("d")));
        QTRY_VERIFY(whole() != empty); // cannot be read
        const QImage unreadable = whole();
        QVERIFY(QDir().rename(path("d"), path("c")));
        Pictures::save(path("c/one.jpg"));
        QTRY_COMPARE(program->rows(), 1);
        QVERIFY(whole() != empty && whole() != unreadable);
    }

    void selectionAndPlaceStayWithTheirFiles()
    {
        start({path("a"), path("b")}, 30);
        const auto selected = [this] {
            QStringList names;
            for (const QModelIndex &index : program->list()->selectionModel()->selectedIndexes())
                names.append(program->fileNames()[index.row()]);
            return names;
        };
        program->click("hideCheckboxButton");
        QTRY_VERIFY(program->settled());
        program->choose(20);
        auto *const bar = program->list()->verticalScrollBar();
        bar->setValue(bar->maximum() / 2);
        const int place = bar->value();
        QVERIFY(place > 0);
        Pictures::save(path("a/000.jpg")); // before all others
        QVERIFY(QFile::remove(path("a/0025.jpg")));
        checkList("a");
        QCOMPARE(selected(), QStringList("0020.jpg"));
        QCOMPARE(bar->value(), place);
        show(1, 5);
        QCOMPARE(selected(), QStringList());
        program->choose(2);
        QVERIFY(QFile::remove(path("b/0002.jpg")));
        QTRY_COMPARE(program->rows(), 4);
        QCOMPARE(program->find("deleteButton")->isEnabled(), !selected().isEmpty());
    }

    void droppedFileOfTheFolderOnShow()
    {
        Pictures::save(path("b/p.jpg"));
        Pictures::save(path("b/P.jpg"));
        start({path("b")}, static_cast<int>(disk("b").size()));
        const QStringList names = program->fileNames();
        for (const QString &name : names.filter("p.jpg", Qt::CaseInsensitive)) { // one on Windows
            program->drop(path("b"), name);
            const auto row = names.indexOf(name);
            QCOMPARE(program->strip()->currentIndex().column(), row);
            program->click("forwardButton");
            QVERIFY(program->isOn(path("b/") + names[(row + 1) % names.size()]));
        }
    }

    void namedAtTheStart()
    {
        start({path("a")}, 30);
        Pictures::saveMany(path("c"), 3);
        Files::write(path("c/notes.txt"), "x");
        for (const char *const nothing : {"gone", "c/gone.jpg", "c/notes.txt"})
            program->window->open(path(nothing));
        QCOMPARE(program->tree(), QStringList("a"));
        program->window->open(path("c/0001.jpg"));
        QTRY_COMPARE(program->rows(), 3);
        QCOMPARE(program->tree(), QStringList({"c", "a"}));
        QTRY_VERIFY(program->isOn(path("c/0001.jpg")));
        QTRY_COMPARE(program->strip()->currentIndex().column(), 1);
        program->window->open(path("a") + '/');
        QTRY_COMPARE(program->rows(), 30);
        QCOMPARE(program->tree(), QStringList({"c", "a"}));
    }

    void stormOfChangesEndsWithTheDisk()
    {
        start({path("b")}, 5);
        const auto name = [](int i) { return QStringLiteral("b/s%1.jpg").arg(i); };
        for (int i = 0; i < 2000; ++i) { // while the list is read again and again
            write(name(i), "x");
            if (i % 5 == 1)
                QVERIFY(QFile::rename(path(name(i / 2)), path(QStringLiteral("b/t%1.jpg").arg(i))));
            else if (i % 5 == 4)
                QVERIFY(QFile::remove(path(name(i))));
            if (i % 20 == 0)
                QTest::qWait(1);
        }
        QTRY_COMPARE(sortedNames(), disk("b"));
        QCOMPARE(program->rows(), disk("b").size());
    }

    void filesThatVanishAreSafe()
    {
        start({path("b")}, 5);
        program->open(4);
        QTRY_VERIFY(QDir(path("b")).removeRecursively()); // on Windows when nobody reads from it
        QTRY_COMPARE(program->rows(), 0);
        for (const char *const button :
             {"backButton", "forward2Button", "back2Button", "fullButton", "fitHButton"})
            program->find<QToolButton>(button)->click();
        for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Right})
            QTest::keyClick(program->window.get(), key);
        emit program->strip()->clicked(QModelIndex());
        program->click("closeButton");
        QTRY_COMPARE(text("pathValueLabel"), "Total: 0   Path: " + QDir::toNativeSeparators(path("b")));
        QTRY_VERIFY(QDir().mkpath(path("b"))); // it comes back
        Pictures::saveMany(path("b"), 2);
        QTRY_COMPARE(program->rows(), 2);
    }

private:
    /// Chooses a folder by the button.
    void addFolder(const QString &chosen) const
    {
        choosesFolder(QDir::toNativeSeparators(chosen));
        program->click("openFileAddButton");
    }
    QStringList sortedNames() const
    {
        QStringList names = program->fileNames();
        names.sort();
        return names;
    }
    /// Status and list are those of the folder.
    void checkNames(const QString &shown) const
    {
        const QStringList expected = disk(shown);
        QTRY_COMPARE(text("pathValueLabel"), QStringLiteral("Total: %1   Path: %2")
                                                 .arg(expected.size())
                                                 .arg(QDir::toNativeSeparators(path(shown))));
        QTRY_COMPARE(sortedNames(), expected);
    }
    /// And so are the strip and the squares.
    void checkList(const QString &shown) const
    {
        checkNames(shown);
        QTRY_VERIFY(program->settled());
        QCOMPARE(program->strip()->model()->columnCount(), program->rows());
        for (int row = 0; row < program->rows(); ++row) {
            const TFileRecord &record = VistamoGlobal::fileDataList[row];
            QTRY_COMPARE(Pictures::quartersOf(square(row).copy(record.imageRect)),
                         record.fileName == "broken.jpg" ? "? ? ? ?" : "red green blue yellow");
            QCOMPARE(square(row).pixelColor(0, 0), QPalette().color(QPalette::Base));
        }
    }
    QImage square(int row) const
    {
        return program->index(row).data(Qt::DecorationRole).value<QIcon>().pixmap(256, 256).toImage();
    }
    /// The pictures of a folder in the order in which their thumbnails were stored.
    QStringList made(const QString &name) const
    {
        QSqlQuery query("SELECT group_concat(fullPath) FROM (SELECT fullPath FROM FileData ORDER BY id)",
                        VistamoGlobal::thumbnailDatabase);
        return query.next() ? query.value(0).toString().split(',').filter(path(name)) : QStringList();
    }

    std::optional<const MemoryBudget::Share> memory; ///< while held, no picture is decoded
};

PROGRAM_TEST_MAIN(BrowserTest)
#include "BrowserTest.moc"
