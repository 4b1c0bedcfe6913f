#include "support/Program.h"
#include "viewer/TImageLabel.h"

#include <QtTest>
#include <QtWidgets>

/// The viewer page over a real folder, in the real form.
class ViewerTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        QApplication::setStyle("Fusion");
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
        open("large.jpg");
        // The thumbnail is up at once, at the scale of the view.
        QCOMPARE(label->size(), program->find("scrollArea")->size() - QSize(16, 4));
        QVERIFY2(program->scale() > 1, qPrintable(text("percentResizeLabel")));
        QTRY_COMPARE(text("sizeInfoLabel"), "3000x2000");
        QVERIFY(program->scale() < .5);
        QCOMPARE(program->shown(QSize(3000, 2000)), "red green blue yellow");
    }

    void smoothPassAwaitsASecondOfQuiet()
    {
        // A grid of single pixels, half as large: black and white while fast, grey when smooth.
        QImage grid(2000, 2000, QImage::Format_RGB32);
        for (int y = 0; y < grid.height(); ++y)
            for (int x = 0; x < grid.width(); ++x)
                grid.setPixel(x, y, (x + y) % 2 ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
        grid.save(path("sub.png"));
        program->drop(folder->path(), "sub.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "2000x2000");
        const auto isSmooth = [&] {
            const int middle = qGray(label->grab().toImage().pixel(label->rect().center()));
            return middle > 20 && middle < 235;
        };
        emit label->needToResizeImage(1);
        QElapsedTimer sinceZoom;
        for (int i = 0; i < 3; ++i) {
            QTest::qWait(500);
            emit label->needToResizeImage(i % 2 ? 1 : -1);
            sinceZoom.start();
        }
        QVERIFY(!isSmooth()); // put off by each step
        QTRY_VERIFY_WITH_TIMEOUT(isSmooth(), 3000);
        QVERIFY(sinceZoom.elapsed() >= 1000);
    }

    void steppingGoesRound()
    {
        const auto isOn = [&](int row) {
            return program->window->windowTitle().endsWith(program->fileNames()[row]);
        };
        open(program->fileNames().last());
        program->click("forwardButton");
        QVERIFY(isOn(0));
        program->click("back2Button");
        QVERIFY(isOn(2));
        // A neighbour that was decoded ahead and then changed in place, which no watcher tells.
        openFully("small.png", "60x40");
        QTest::qWait(800);
        Pictures::save(path(program->fileNames()[(rowOf("small.png") + 1) % 3]), QSize(77, 55));
        program->click("forwardButton");
        QTRY_COMPARE(text("sizeInfoLabel"), "77x55");
        program->click("closeButton");
        QTest::keyClick(program->window.get(), Qt::Key_Right);
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery");
    }

    void fitModesAndFreeZoom()
    {
        program->window->resize(1100, 800);
        openFully("tall.png", "300x900");
        const QSize viewport = program->find("scrollArea")->size() - QSize(16, 4);
        program->click("fitHButton");
        QCOMPARE(label->size(), QSize(viewport.width(), viewport.width() * 3));
        program->click("fitVButton");
        QCOMPARE(label->size(), viewport);
        program->click("fullButton");
        QCOMPARE(label->size(), QSize(viewport.width(), 900));
        QCOMPARE(text("percentResizeLabel"), "100%");

        emit label->needToResizeImage(1);
        QCOMPARE(text("percentResizeLabel"), "110%");
        for (const char *const button : {"fitVHButton", "fitHButton", "fitVButton", "fullButton"})
            QVERIFY(!program->find<QToolButton>(button)->isChecked());
        // The scale stays when the window grows, and goes with a step.
        program->window->resize(1200, 900);
        QTRY_COMPARE(label->width(), program->find("scrollArea")->width() - 16);
        QCOMPARE(text("percentResizeLabel"), "110%");
        QCOMPARE(program->find("forward2Button")->geometry().right(), label->width() + 16 - 1 - 20 - 1);
        program->click("forwardButton");
        QVERIFY(program->find<QToolButton>("fitVHButton")->isChecked());
        program->click("fitVButton");
        program->click("forwardButton");
        QVERIFY(program->find<QToolButton>("fitVButton")->isChecked());
        program->click("closeButton");
        open("small.png");
        QVERIFY(program->find<QToolButton>("fitVHButton")->isChecked());

        // A file that is opened by its path in free zoom has no thumbnail to take the scale from.
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
        auto *const strip = program->find<QTableView>("galleryTableView");
        QSignalSpy titles(program->find("ThumbsForm"), SIGNAL(changeTitle(QString)));
        emit strip->clicked(strip->model()->index(0, rowOf("large.jpg")));
        QCOMPARE(titles.size(), 0); // on show already

        const int height = program->find("scrollArea")->height();
        program->click("galleryButton");
        QVERIFY(!strip->isVisible());
        QVERIFY(program->find("scrollArea")->height() > height + 100);
        QCOMPARE(label->size(), program->find("scrollArea")->size() - QSize(16, 4));
        program->click("forwardButton");
        program->click("galleryButton");
        const QString name = program->fileNames()[strip->currentIndex().column()];
        QVERIFY(program->window->windowTitle().endsWith(name));

        // The list loses a file above the one on show.
        const QString last = program->fileNames().last();
        open(last);
        QVERIFY(QFile::remove(path(program->fileNames().first())));
        QTRY_COMPARE(program->rows(), 2);
        QTRY_COMPARE(strip->selectionModel()->selectedIndexes().value(0).column(), rowOf(last));
        program->click("backButton");
        QVERIFY(program->window->windowTitle().endsWith(program->fileNames()[rowOf(last) - 1]));
    }

    void brokenPictureIsAnEmptyView()
    {
        write("broken.jpg", "broken");
        QTRY_COMPARE(program->rows(), 4);
        openFully("large.jpg", "3000x2000");
        openFully("broken.jpg", "0x0");
        QCOMPARE(text("percentResizeLabel"), "nan%");
        for (const char *const button : {"fitHButton", "fullButton", "fitVButton", "fitVHButton"})
            program->click(button);
        emit label->needToResizeImage(1);
        emit label->needToResizeImage(-1);
        program->window->resize(1050, 700);
        const QImage view = label->grab().toImage();
        QCOMPARE(view.pixelColor(view.rect().center()), label->palette().color(QPalette::Window));
    }

private:
    int rowOf(const QString &name) const { return static_cast<int>(program->fileNames().indexOf(name)); }
    void openFully(const QString &name, const QString &size)
    {
        open(name);
        QTRY_COMPARE(text("sizeInfoLabel"), size);
    }
    void open(const QString &name) { program->open(rowOf(name)); }

    TImageLabel *label = nullptr;
};

QTEST_MAIN(ViewerTest)
#include "ViewerTest.moc"
