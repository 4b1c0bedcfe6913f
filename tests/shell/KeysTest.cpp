#include "shell/Keys.h"
#include "shell/ReadableStyle.h"
#include "support/Program.h"

/// The program without a mouse.
class KeysTest : public ProgramTest
{
    Q_OBJECT

private slots:
    static void initTestCase()
    {
        QApplication::setStyle(new ReadableStyle("Fusion"));
        QApplication::setKeyboardInputInterval(600'000); // however slow the machine is
    }

    void init()
    {
        newFolder({"first", "second"});
        for (const char *const name : {"apple.png", "bed alone.png", "bed and breakfast in the hills.png"})
            Pictures::save(path("first") + '/' + name, size);
        Pictures::save(path("second/only.png"), QSize(60, 40));
        start({path("first")}, 3, QRect(60, 60, 1000, 700));
        QVERIFY(QTest::qWaitForWindowActive(program->window.get(), patience));
        choosesFolder(path("second"), path("exported.png"));
    }
    void cleanup() { end(); }

    void documentListsTheKeys()
    {
        QFile document(QFINDTESTDATA("../docs/keyboard.md"));
        QVERIFY(document.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(document.readAll()).split('\n');
        QCOMPARE(lines.filter(QRegularExpression("^(## |\\| (?!Key |---))")), documented());
    }

    void everyKeyActsInItsPlace()
    {
        const auto isChecked = [this](const char *name) {
            return [=, this] { return program->find<QToolButton>(name)->isChecked(); };
        };
        // Whose picture has come: a zoom is one of what is on show.
        const auto isOn = [this](const char *name, const char *pixels) {
            return [=, this] { return program->isOn(name) && text("sizeInfoLabel") == pixels; };
        };
        const auto isAt = [this](int row) {
            return [=, this] { return program->list()->currentIndex().row() == row; };
        };
        const auto ticks = [this](int count) {
            return [=, this] {
                return program->ticks().size() == count && VistamoGlobal::checkedItemList.size() == count;
            };
        };
        const QString bed = path("first/bed alone.png");
        const struct
        {
            const char *part; ///< that takes the focus first
            const char *key;
            std::function<bool()> outcome;
            const char *dialog = ""; ///< that opens, and is closed
        } cases[] = {
            {"", "F11", [this] { return program->window->isFullScreen(); }},
            {"", "F11", [this] { return !program->window->isFullScreen(); }},
            {"", "F1", {}, "KeysDialog"},
            {"", "Ctrl+O", [this] { return program->tree().join(' ') == "second first"; }},
            {"sideTreeView", "Down", [this] { return program->settled() && program->rows() == 3; }},
            {"mainListView", "Home", isAt(0)},
            {"", "B, E, D, Space", [=] { return isAt(1)() && ticks(0)(); }},
            {"", "A, N, D, Space", isAt(2)},
            {"", "B, R, E, A", isAt(2)}, // behind the line break
            {"", "Home", isAt(0)},
            {"", "Space", ticks(1)},
            {"", "End", isAt(2)},
            {"", "Shift+Space", ticks(3)},
            {"", "Ctrl+Shift+A", ticks(0)},
            {"", "Ctrl+A", ticks(3)},
            {"", "Del", {}, "VistamoDeleteDialog"},
            {"", "F2", {}, "VistamoRenameDialog"},
            {"", "Menu", {}, "FileMenu"},
            {"", "Ctrl+C",
             [this] {
                 const QUrl url = QUrl::fromLocalFile(path("first/bed and breakfast in the hills.png"));
                 const QMimeData *const data = QGuiApplication::clipboard()->mimeData();
                 return data->urls() == QList{url}
                        && data->data("x-special/gnome-copied-files") == "copy\n" + url.toEncoded();
             }},
            {"", "F5", [bed] { return VistamoGlobal::fileDataList[1].size == QFile(bed).size(); }},
            {"", "Return", isOn("hills.png", "900x600")},
            {"", "Home", isOn("apple.png", "450x300")},
            {"", "Space", isOn("alone.png", "30x20")},
            {"", "Left", isOn("apple.png", "450x300")},
            {"", "End", isOn("hills.png", "900x600")},
            {"", "R", [this] { return program->shown(size.transposed()) == "blue red yellow green"; }},
            {"", "Shift+R", [this] { return program->shown(size) == "red green blue yellow"; }},
            {"", "1", [this] { return text("percentResizeLabel") == "100%"; }},
            {"", "+", [this] { return text("percentResizeLabel") == "110%"; }},
            {"", "-", [this] { return text("percentResizeLabel") == "99%"; }},
            {"", "F", isChecked("fitHButton")},
            {"", "0", isChecked("fitVHButton")},
            {"", "C", isChecked("cropButton")},
            {"", "Del", isOn("hills.png", "900x600")}, // and asks nothing
            {"", "F11", [this] { return program->window->isFullScreen(); }},
            {"", "F11", [this] { return !program->window->isFullScreen(); }},
            {"", "F1", {}, "KeysDialog"},
            {"", "Ctrl+C", [this] { return QGuiApplication::clipboard()->image().size() == size; }},
            {"", "Ctrl+S", [this] { return QImage(path("exported.png")).size() == size; }},
            {"", "Right", isOn("apple.png", "450x300")},
            {"", "Esc", [this] { return program->find("widget1")->isVisible(); }},
            {"", "Enter", isOn("apple.png", "450x300")}, // seen last
            {"", "Ctrl+O", [this] { return program->settled() && program->rows() == 1; }},
        };
        QStringList tried;
        const QSignalSpy scrolled(program->find<QScrollArea>("scrollArea")->horizontalScrollBar(),
                                  &QScrollBar::actionTriggered);
        for (const auto &test : cases) {
            if (*test.part)
                program->find(test.part)->setFocus();
            if (qstrcmp(test.key, "F5") == 0) { // of which no watch of the folder tells
                Pictures::save(bed, QSize(30, 20));
                Pictures::save(path("first/apple.png"), size / 2);
            }
            QString dialog;
            if (*test.dialog)
                whenDialog([&](QWidget *opened) { dialog = opened->metaObject()->className(); });
            program->window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(program->window.get(), patience));
            press(test.key);
            QTRY_VERIFY2(!test.outcome || test.outcome(), test.key);
            QTRY_COMPARE(dialog, test.dialog);
            tried.append(test.key);
        }
        QCOMPARE(scrolled.size(), 0); // by the keys that step
        for (const Keys::Key &key : Keys::all())
            for (const QString &name : QString(key.receiver ? key.keys : "").split("; "))
                QVERIFY2(name.isEmpty() || tried.contains(name), qPrintable(name));
    }

    void keysAreLeftToThoseThatNeedThem()
    {
        // A text field has all of them, and the arrows step as well.
        program->open(0);
        QTRY_COMPARE(text("sizeInfoLabel"), "900x600");
        press("C");
        auto *const field = program->find<QSpinBox>("leftSpinBox");
        field->setFocus();
        field->selectAll();
        press("1, 0, R, F");
        press("Del, Esc, Space, Ctrl+C");
        QVERIFY(program->isOn("apple.png"));
        QCOMPARE(field->value(), 10);
        QVERIFY(program->find<QToolButton>("fitVHButton")->isChecked());
        press("Right");
        QTRY_VERIFY(program->isOn("alone.png"));
        program->click("cropButton");
        // A button has those that press it.
        program->find("rotateRightButton")->setFocus();
        press("Space");
        QTRY_COMPARE(program->shown(size.transposed()), "blue red yellow green");
        // A slider has its arrows.
        QSlider slider;
        slider.show();
        slider.setFocus();
        QVERIFY(QTest::qWaitForWindowActive(&slider, patience));
        QTest::keyClick(slider.windowHandle(), Qt::Key_Right);
        QVERIFY(program->isOn("alone.png") && slider.value() == 1);
        slider.close();
        program->window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(program->window.get(), patience));
        // A window that the desktop shows again has the focus where it was.
        program->find("rotateRightButton")->setFocus();
        QShowEvent again;
        QSpontaneKeyEvent::setSpontaneous(&again);
        qApp->notify(program->find("ThumbsForm"), &again); // sending would say that it is the program's
        QVERIFY(program->find("rotateRightButton")->hasFocus());
        // Escape alone is known to the slideshow, and does nothing else.
        program->find("scrollArea")->setFocus();
        press("Esc");
        program->click("slideShowButton");
        QVERIFY(VistamoGlobal::isFullScreen);
        press("Ctrl+O, F11, F5, Ctrl+A");
        QVERIFY(program->window->isFullScreen() && program->ticks().isEmpty());
        press("Esc");
        QVERIFY(!VistamoGlobal::isFullScreen && program->find("widget1")->isVisible());
        QCOMPARE(program->tree(), QStringList{"first"});
        QVERIFY(program->list()->hasFocus());
        // Without boxes there is nothing to tick.
        program->click("hideCheckboxButton");
        press("Ctrl+A");
        QVERIFY(VistamoGlobal::checkedItemList.isEmpty());
    }

    void fullScreenKeepsThePlaceOfTheWindow()
    {
        MainWindow *const window = program->window.get();
        const QSize size = window->size();
        press("F11");
        QTRY_COMPARE(window->geometry(), window->screen()->geometry());
        press("F11");
        QTRY_COMPARE(window->size(), size);
        const QRect place(80, 70, 1010, 710);
        window->setGeometry(place);
        window->showFullScreen(); // as the desktop does it
        window->store();
        const QSettings store = programSettings();
        QCOMPARE(QSize(BrowserSettings::width.read(store), BrowserSettings::height.read(store)),
                 place.size());
        program->click("slideShowButton");
        press("Esc");
        QVERIFY(window->isFullScreen());
        press("F11");
        QTRY_COMPARE(window->geometry(), place);
    }

    void tabKeyFollowsTheEye()
    {
        const auto place = [](const QWidget *stop) {
            return QRect(stop->mapTo(stop->window(), QPoint()), stop->size());
        };
        // True if the eye, which reads by lines, comes to the second after the first.
        const auto isPassed = [](const QRect &one, const QRect &other) {
            return one.bottom() < other.top() || (one.top() <= other.bottom() && one.left() < other.left());
        };
        const auto round = [&] {
            QStringList names;
            const QWidget *last = nullptr;
            QWindow *const window = QApplication::focusWidget()->window()->windowHandle();
            QTest::keyClick(window, Qt::Key_Tab); // from now on the focus is shown
            QTest::keyClick(window, Qt::Key_Tab, Qt::ShiftModifier);
            for (int i = 0; i < 40 && !names.contains(QApplication::focusWidget()->objectName()); ++i) {
                QWidget *const stop = QApplication::focusWidget();
                const QImage focused = stop->grab().toImage();
                QTest::keyClick(window, Qt::Key_Tab);
                names.append(stop->objectName());
                if (QApplication::focusWidget() != stop && stop->grab().toImage() == focused)
                    names.append("(unseen)");
                if (last && qobject_cast<QDialog *>(stop->window()) && !isPassed(place(last), place(stop)))
                    names.append("(back)");
                last = stop;
            }
            return names.join(' ');
        };
        QCOMPARE(round(), "mainListView openFileAddButton openFileMinButton plusButton showCheckboxButton "
                          "hideCheckboxButton optionsButton slideShowButton webButton aboutButton");
        program->open(0);
        QCOMPARE(round(), "scrollArea backButton forwardButton fitVHButton fitHButton fitVButton fullButton "
                          "rotateLeftButton rotateRightButton flipHButton flipVButton cropButton "
                          "galleryButton adjustButton exportButton closeButton");
        program->click("closeButton");
        const auto inDialog = [&](const char *slot) {
            QString names;
            whenDialog([&](QWidget *dialog) {
                QVERIFY(QTest::qWaitForWindowActive(dialog));
                names = round();
            });
            program->call(slot);
            static_cast<void>(QTest::qWaitFor([&] { return !names.isEmpty(); }));
            return names;
        };
        QCOMPARE(inDialog("onRenameAction"), "newNameLineEdit renameButton closeButton");
        program->call("tickAll");
        QCOMPARE(inDialog("on_deleteButton_clicked"), "fileTreeView applyButton cancelButton");
        QCOMPARE(inDialog("on_optionsButton_clicked"),
                 "qt_tabwidget_tabbar bkColorButton delaySpinBox countdownCheckBox");
        QCOMPARE(inDialog("on_aboutButton_clicked"), "webLabel closeButton");
        QCOMPARE(inDialog("showKeys"), "keysList");
        QVERIFY(QFile::copy(path("first/apple.png"), path("second/apple.png")));
        QCOMPARE(inDialog("onCopytoAction"), "treeWidget overwriteButton cancelButton");
        program->open(0);
        QTRY_COMPARE(text("sizeInfoLabel"), "900x600");
        program->call("onContrastAction");
        QVERIFY(QTest::qWaitForWindowActive(program->find("VistamoFilterDialog")));
        QCOMPARE(round(),
                 "contrastSlider contrastSpinBox brightnessSlider brightnessSpinBox gammaSlider gammaSpinBox "
                 "invertColorsSlider invertColorsSpinBox applyButton cancelButton");
        program->call("on_closeButton_clicked");
        program->call("untickAll");
        program->call("onImagesToPDFAction");
        program->window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(program->window.get()));
        QCOMPARE(round(),
                 "openFileAddButton backButton optionsScrollArea outputFolderLineEdit outputFolderButton "
                 "pdfFilenameLineEdit pdfFilenameButton pdfPageOrientationPortraitButton "
                 "pdfPageOrientationLanscapeButton pdfPaperSizeComboBox pdfResizeImageToPaperCheckBox "
                 "pdfSmoothEdgesCheckBox pdfQualityComboBox pdfNoMarginButton pdfAddMarginButton "
                 "pdfMarginSizeSpinBox");
        program.reset();
        start({}, 0);
        QVERIFY(QTest::qWaitForWindowActive(program->window.get()));
        QCOMPARE(round(), "noItemFrame openFileAddButton plusButton showCheckboxButton hideCheckboxButton "
                          "optionsButton webButton aboutButton");
    }

private:
    void press(const char *keys)
    {
        const auto sequence = QKeySequence::fromString(keys);
        if (sequence == QKeySequence(Qt::Key_Menu)) { // which real windows are given as an event of its own
            QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
            QCoreApplication::sendEvent(program->list(), &event);
            return;
        }
        QTest::keySequence(program->window->windowHandle(), sequence);
    }
    /// What the document says of the keys.
    static QStringList documented()
    {
        QStringList lines;
        QString title;
        for (const Keys::Key &key : Keys::all()) {
            if (title != Keys::title(key.place))
                lines.append("## " + (title = Keys::title(key.place)));
            lines.append(QStringLiteral("| %1 | %2 |").arg(Keys::text(key), key.does));
        }
        return lines;
    }

    const QSize size = {900, 600};
};

QTEST_MAIN(KeysTest)
#include "KeysTest.moc"
