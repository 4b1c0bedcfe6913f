#include "support/Pictures.h"
#include "support/Program.h"
#include "viewer/TImageLabel.h"

#include <QtTest>
#include <QtWidgets>

/// The viewer page over a real folder, in the real form.
class ViewerTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QApplication::setStyle("Fusion");
        folder = std::make_unique<QTemporaryDir>();
        Pictures::save(folder->filePath("large.jpg"), QSize(3000, 2000));
        Pictures::save(folder->filePath("small.png"), QSize(60, 40));
        Pictures::save(folder->filePath("tall.png"), QSize(300, 900));
        Pictures::saveBroken(folder->filePath("broken.jpg"));
        Program::setFolders({folder->path()});
        program = std::make_unique<Program>();
        QTRY_VERIFY(program->settled() && program->rows() == 4);
    }

    void cleanup() { program.reset(); }
    void opensOnTheThumbnailThenThePicture()
    {
        open("large.jpg");
        QVERIFY(program->find("widget2")->isVisible());
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery-" + folder->filePath("large.jpg"));
        // The thumbnail is up at once, at the scale of the view.
        const QSize viewport = program->find("scrollArea")->size() - QSize(16, 4);
        QCOMPARE(program->find("imageLabel")->size(), viewport);
        const double percent = text("percentResizeLabel").chopped(1).toDouble();
        QVERIFY2(percent > 100, qPrintable(text("percentResizeLabel")));
        QTRY_COMPARE(text("sizeInfoLabel"), "3000x2000");
        QVERIFY(text("percentResizeLabel").chopped(1).toDouble() < 50);
        QCOMPARE(shown(), "red green blue yellow");

        // The smooth pass comes once, after a second of quiet.
        const auto running = [&] {
            auto timers = program->find("ThumbsForm")->findChildren<QTimer *>(Qt::FindDirectChildrenOnly);
            return timers.removeIf([](const QTimer *timer) { return !timer->isActive(); }), timers.size();
        };
        QCOMPARE(running(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(running(), 0, 3000);
        QCOMPARE(shown(), "red green blue yellow");

        program->click("closeButton");
        QVERIFY(program->find("widget1")->isVisible());
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery");
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
        QVERIFY(isOn(3));
        // A neighbour that was decoded ahead is there at once.
        open("small.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "60x40");
        QTest::qWait(800);
        const bool forward = program->fileNames()[(rowOf("small.png") + 1) % 4] != "broken.jpg";
        program->click(forward ? "forwardButton" : "backButton");
        QVERIFY(text("sizeInfoLabel") != "60x40");
        program->click("closeButton");
        QTest::keyClick(program->window.get(), Qt::Key_Right);
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery");
    }

    void fitModesAndFreeZoom()
    {
        program->window->resize(1100, 800);
        open("tall.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "300x900");
        auto *const label = program->find<TImageLabel>("imageLabel");
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
        QTRY_COMPARE(text("percentResizeLabel"), "110%");
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
        Pictures::save(folder->filePath("sub.png"), QSize(90, 80));
        QMetaObject::invokeMethod(program->find("ThumbsForm"), "onAddFolder", Q_ARG(QString, folder->path()),
                                  Q_ARG(QString, "sub.png"));
        QTRY_COMPARE(text("sizeInfoLabel"), "90x80");
        QCOMPARE(shown(), "red green blue yellow");
    }

    void stripFollowsAndOpens()
    {
        open("small.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "60x40");
        auto *const strip = program->find<QTableView>("galleryTableView");
        QSignalSpy titles(program->find("ThumbsForm"), SIGNAL(changeTitle(QString)));
        emit strip->clicked(strip->model()->index(0, rowOf("small.png")));
        QCOMPARE(titles.size(), 0); // on show already
        emit strip->clicked(strip->model()->index(0, rowOf("large.jpg")));
        QTRY_COMPARE(text("sizeInfoLabel"), "3000x2000");

        const int height = program->find("scrollArea")->height();
        program->click("galleryButton");
        QVERIFY(!strip->isVisible());
        QVERIFY(program->find("scrollArea")->height() > height + 100);
        QCOMPARE(program->find("imageLabel")->size(), program->find("scrollArea")->size() - QSize(16, 4));
        program->click("forwardButton");
        program->click("galleryButton");
        const QString name = program->fileNames()[strip->currentIndex().column()];
        QVERIFY(program->window->windowTitle().endsWith(name));
    }

    void brokenPictureIsAnEmptyView()
    {
        open("large.jpg");
        QTRY_COMPARE(text("sizeInfoLabel"), "3000x2000");
        open("broken.jpg");
        QTRY_COMPARE(text("sizeInfoLabel"), "0x0");
        QCOMPARE(text("percentResizeLabel"), "nan%");
        auto *const label = program->find<TImageLabel>("imageLabel");
        for (const char *const button : {"fitHButton", "fullButton", "fitVButton", "fitVHButton"})
            program->click(button);
        emit label->needToResizeImage(1);
        emit label->needToResizeImage(-1);
        program->window->resize(1050, 700);
        const QImage view = label->grab().toImage();
        QCOMPARE(view.pixelColor(view.rect().center()), label->palette().color(QPalette::Window));
    }

    void everyOrientationIsUpright()
    {
        for (int orientation = 1; orientation <= 8; ++orientation)
            Pictures::save(folder->filePath(QStringLiteral("%1.jpg").arg(orientation)), QSize(600, 400),
                           orientation);
        QTRY_VERIFY(program->settled() && program->rows() == 12);
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QString name = QStringLiteral("%1.jpg").arg(orientation);
            const QIcon icon = program->find<QTableView>("galleryTableView")
                                   ->model()
                                   ->index(0, rowOf(name))
                                   .data(Qt::DecorationRole)
                                   .value<QIcon>();
            const QRect place = VistamoGlobal::fileDataList[rowOf(name)].imageRect;
            QCOMPARE(Pictures::quartersOf(icon.pixmap(256, 256).toImage().copy(place)),
                     "red green blue yellow");
            open(name);
            QTRY_COMPARE(text("sizeInfoLabel"), "600x400");
            QCOMPARE(shown(), "red green blue yellow");
            program->find<QLabel>("sizeInfoLabel")->clear();
        }
    }

private:
    int rowOf(const QString &name) const { return static_cast<int>(program->fileNames().indexOf(name)); }
    QString text(const char *label) const { return program->text(label); }
    void open(const QString &name) { program->open(rowOf(name)); }
    /// The quarters of what the label shows, in the middle of the viewport.
    QString shown() const
    {
        auto *const label = program->find<TImageLabel>("imageLabel");
        const QImage view = label->grab().toImage();
        const QStringList sides = text("sizeInfoLabel").split('x');
        QSize size(sides.value(0).toInt(), sides.value(1).toInt());
        size.scale(label->size(), Qt::KeepAspectRatio);
        QRect place(QPoint(), size);
        place.moveCenter(label->rect().center());
        return Pictures::quartersOf(view.copy(place));
    }

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<Program> program;
};

QTEST_MAIN(ViewerTest)
#include "ViewerTest.moc"
