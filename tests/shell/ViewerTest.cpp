#include "support/Program.h"
#include "viewer/TImageLabel.h"

/// The viewer page over a real folder, in the real form.
class ViewerTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder();
        Pictures::save(path("large.jpg"), QSize(3000, 2000), 6);
        Pictures::save(path("small.png"), QSize(60, 40));
        Pictures::save(path("tall.png"), QSize(300, 900));
        start({folder->path()}, 3);
        label = program->find<TImageLabel>("imageLabel");
    }

    void cleanup() { end(); }

    void opensOnTheThumbnailThenThePicture()
    {
        program->open("large.jpg");
        // The thumbnail is up at once, at the scale of the view, and all but looks like the picture.
        QCOMPARE(label->size(), viewport());
        QVERIFY(program->scale() > 1);
        const QImage thumbnail = label->grab().toImage();
        QTRY_COMPARE(text("sizeInfoLabel"), "3000x2000");
        QVERIFY(program->scale() < .5);
        QCOMPARE(program->shown(QSize(3000, 2000)), "red green blue yellow");
        QVERIFY(Pictures::difference(label->grab().toImage(), thumbnail) < 3);
    }

    void smoothPassComesAfterTheFastOne()
    {
        // A grid of single pixels, half as large: black and white while fast, grey when smooth.
        const auto grid = [](int x, int y) { return (x + y) % 2 * 0xffffff; };
        QVERIFY(Pictures::painted(QSize(2000, 2000), grid).save(path("sub.png")));
        program->drop(folder->path(), "sub.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "2000x2000");
        const auto isSmooth = [&] {
            const int middle = qGray(label->grab().toImage().pixel(label->rect().center()));
            return middle > 20 && middle < 235;
        };
        emit label->needToResizeImage(1);
        for (const int step : {-1, 1}) {
            for (int tick = 0; tick < 10; ++tick) // of the eleven that are to pass
                program->call("onLoadHighQualityTimer");
            QVERIFY(!isSmooth());
            emit label->needToResizeImage(step); // puts it off
        }
        QTRY_VERIFY(isSmooth());
    }

    void steppingGoesRound()
    {
        // A neighbour that was prefetched and then changed in place, which no watcher tells.
        openFully("large.jpg", "3000x2000");
        QTRY_COMPARE(lastDecoded(), beforeLarge());
        Pictures::save(path(beforeLarge()), QSize(77, 55));
        program->click("backButton");
        QTRY_COMPARE(text("sizeInfoLabel"), "77x55");

        const auto isOn = [this](int row) { return program->isOn(program->fileNames()[row]); };
        program->open(program->fileNames().last());
        program->click("forwardButton");
        QVERIFY(isOn(0));
        program->click("back2Button");
        QVERIFY(isOn(2));
        // The keys too, but one that comes at once after another counts for nothing.
        const auto press = [&](Qt::Key key) { QTest::keyClick(program->window.get(), key); };
        press(Qt::Key_Left);
        press(Qt::Key_Left);
        QVERIFY(isOn(1));
        QTRY_VERIFY((press(Qt::Key_Right), isOn(2)));

        // They belong to a menu or a dialog that is up.
        QMenu menu;
        QDialog dialog(program->window.get());
        dialog.setModal(true);
        menu.addAction("entry");
        menu.popup({});
        for (QWidget *const above : std::initializer_list<QWidget *>{&menu, &dialog}) {
            above->show();
            for (int i = 0; i < 3; ++i, QTest::qWait(20)) // longer than the debounce
                QTest::keyClick(above, Qt::Key_Left);
            QVERIFY(isOn(2));
            above->hide();
        }
    }

    void closedViewerTakesNothingIn()
    {
        program->call("onResetImageAction"); // before any picture
        program->open("large.jpg");
        const auto shown = [&] { return std::pair(text("percentResizeLabel"), label->grab().toImage()); };
        const auto before = shown();
        program->click("closeButton");
        QTRY_COMPARE(text("sizeInfoLabel"), "3000x2000"); // the answer
        program->call("on_filterResultAvailable", Q_ARG(QImage, QImage(400, 300, QImage::Format_RGB32)));
        QTest::keyClick(program->window.get(), Qt::Key_Right);
        QVERIFY(shown() == before);
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery");
        for (int i = 0; i < 2; ++i) { // no neighbour is prefetched while it is closed, none is kept
            program->open("large.jpg");
            QTRY_VERIFY(program->scale() < 1);
            QTRY_COMPARE(lastDecoded(), beforeLarge());
            program->click("closeButton");
        }
    }

    void fitModesAndFreeZoom()
    {
        const char *const buttons[] = {"fitVHButton", "fitVButton", "fitHButton", "fullButton"};
        for (int mode = 0; mode <= 4; ++mode) {
            const auto choose = [&] {
                program->click(buttons[std::min(mode, 3)]);
                if (mode == 4)
                    emit label->needToResizeImage(1);
            };
            const auto isOn = [&](int expected) {
                for (int i = 0; i < 4; ++i)
                    QCOMPARE(program->find<QToolButton>(buttons[i])->isChecked(), i == expected);
            };
            openFully("tall.png", "300x900");
            choose();
            isOn(mode);
            for (const QSize window : {QSize(1100, 800), QSize(1200, 900)}) {
                program->window->resize(window);
                QTRY_COMPARE(label->width(), viewport().width());
                const QSize view = viewport();
                const int heights[] = {view.height(), view.height(), view.width() * 3, 900, 990};
                QCOMPARE(label->height(), heights[mode]);
                QVERIFY(qAbs(program->scale() * 900 - heights[mode]) < 2);
            }
            program->click("forwardButton");
            isOn(mode < 3 ? mode : 0); // real size and free zoom end with a step
            choose();
            program.reset();
            QCOMPARE(programSettings().value("General/imageScale").toInt(), mode);
            init();
        }
        // A file that is opened by its path in free zoom has no thumbnail to take the scale from.
        program->open("small.png");
        emit label->needToResizeImage(1);
        program->click("closeButton");
        Pictures::save(path("sub.png"), QSize(90, 80));
        program->drop(folder->path(), "sub.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "90x80");
        QCOMPARE(program->shown(QSize(90, 80)), "red green blue yellow");
    }

    void stripFollowsAndOpens()
    {
        openFully("large.jpg", "3000x2000");
        auto *const strip = program->strip();
        const int height = program->find("scrollArea")->height();
        program->click("galleryButton");
        QVERIFY(program->find("scrollArea")->height() > height + 100);
        QCOMPARE(label->size(), viewport());
        const QWidget *const floating = program->find("forward2Button");
        QCOMPARE(floating->y(), program->find("scrollArea")->height() / 2 - floating->height() / 2);
        program->click("forwardButton");
        program->click("galleryButton");
        QVERIFY(program->isOn(program->fileNames()[strip->currentIndex().column()]));

        // The list loses a file above the one on show.
        const QString last = program->fileNames().last();
        program->open(last);
        QVERIFY(QFile::remove(path(program->fileNames().first())));
        QTRY_COMPARE(program->rows(), 2);
        QTRY_COMPARE(strip->selectionModel()->selectedIndexes().value(0).column(), program->rowOf(last));
        program->click("backButton");
        QVERIFY(program->isOn(program->fileNames()[program->rowOf(last) - 1]));

        // A single file has none before it and none after it.
        QVERIFY(QFile::remove(path(program->fileNames().first())));
        QTRY_COMPARE(program->rows(), 1);
        program->open(last);
        QVERIFY(!program->find("backButton")->isVisible() && !program->find("forwardButton")->isVisible());
    }

    void fileThatLeavesKeepsItsPlace()
    {
        const auto *const strip = program->strip();
        for (const auto &[name, button, expected] : {std::tuple("small.png", "forwardButton", "tall.png"),
                                                     {"tall.png", "forwardButton", "large.jpg"},
                                                     {"small.png", "backButton", "large.jpg"},
                                                     {"large.jpg", "back2Button", "tall.png"}}) {
            program->open(name);
            QVERIFY(QFile::rename(path(name), path("away")));
            QTRY_COMPARE(program->rows(), 2);
            QVERIFY(program->isOn(name) && !strip->selectionModel()->hasSelection());
            program->click(button);
            QVERIFY2(program->isOn(expected) && strip->currentIndex().column() == program->rowOf(expected),
                     expected);
            program->click("closeButton");
            QVERIFY(QFile::rename(path("away"), path(name)));
            QTRY_COMPARE(program->rows(), 3);
        }

        // The list goes on with the picture seen last, in a window that has become smaller meanwhile.
        Pictures::saveMany(folder->path(), 60);
        settle(63);
        program->open(0);
        program->window->resize(700, 500);
        program->click("backButton");
        program->click("closeButton");
        const auto *const list = program->list();
        QCOMPARE(list->selectionModel()->selectedIndexes(), QModelIndexList{program->index(62)});
        QVERIFY(list->viewport()->rect().contains(list->visualRect(list->currentIndex()).center()));
    }

    void brokenPictureIsAnEmptyView()
    {
        write("broken.jpg", "broken");
        QTRY_COMPARE(program->rows(), 4);
        openFully("large.jpg", "3000x2000");
        openFully("broken.jpg", "0x0");
        for (const char *const button : {"fitHButton", "fullButton", "fitVButton", "fitVHButton"})
            program->click(button);
        emit label->needToResizeImage(1);
        emit label->needToResizeImage(-1);
        program->window->resize(1050, 700);
        QCOMPARE(label->grab().toImage().pixelColor(label->rect().center()),
                 label->palette().color(QPalette::Window));
    }

private:
    void openFully(const QString &name, const QString &size)
    {
        program->open(name);
        QTRY_COMPARE(text("sizeInfoLabel"), size);
    }
    QSize viewport() const { return program->find("scrollArea")->size() - QSize(16, 4); }
    QString beforeLarge() const { return program->fileNames()[(program->rowOf("large.jpg") + 2) % 3]; }
    /// The file decoded last, with none beside it: the journal keeps all of its entry except a byte.
    static QString lastDecoded()
    {
        const QDir notes(VistamoGlobal().getThumbnailsFolder(), "decoding-*.journal");
        const QByteArray entry = Files::read(notes.filePath(notes.entryList().value(0)));
        return entry.startsWith('\0') ? QFileInfo(entry.constData() + 1).fileName() : QString();
    }

    TImageLabel *label = nullptr;
};

PROGRAM_TEST_MAIN(ViewerTest)
#include "ViewerTest.moc"
