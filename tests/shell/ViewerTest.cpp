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

        program->click("closeButton");
        QVERIFY(program->find("widget1")->isVisible());
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery");
    }

    void smoothPassAwaitsASecondOfQuiet()
    {
        // A grid of single pixels, half as large: black and white while fast, grey when smooth.
        QImage grid(2000, 2000, QImage::Format_RGB32);
        for (int y = 0; y < grid.height(); ++y)
            for (int x = 0; x < grid.width(); ++x)
                grid.setPixel(x, y, (x + y) % 2 ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
        grid.save(folder->filePath("sub.png"));
        QMetaObject::invokeMethod(program->find("ThumbsForm"), "onAddFolder", Q_ARG(QString, folder->path()),
                                  Q_ARG(QString, "sub.png"));
        QTRY_COMPARE(text("sizeInfoLabel"), "2000x2000");
        auto *const label = program->find<TImageLabel>("imageLabel");
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
        program->click("closeButton");
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
        // A neighbour that was decoded ahead and then changed in place, which no watcher tells.
        open("small.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "60x40");
        QTest::qWait(800);
        const bool forward = program->fileNames()[(rowOf("small.png") + 1) % 4] != "broken.jpg";
        const int neighbour = (rowOf("small.png") + (forward ? 1 : 3)) % 4;
        QFile file(folder->filePath(program->fileNames()[neighbour]));
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QByteArray before = file.readAll();
        file.resize(0);
        Pictures::quarters(QSize(77, 55)).save(&file, "PNG");
        file.flush();
        program->click(forward ? "forwardButton" : "backButton");
        QTRY_COMPARE(text("sizeInfoLabel"), "77x55");
        file.resize(0);
        file.seek(0);
        file.write(before);
        file.close();
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
        QTRY_COMPARE(label->width(), program->find("scrollArea")->width() - 16);
        QCOMPARE(text("percentResizeLabel"), "110%");
        const QWidget *const forward = program->find("forward2Button");
        QCOMPARE(forward->geometry().right(), program->find("scrollArea")->width() - 1 - 20 - 1);
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

        // The list loses a file above the one on show.
        const QString last = program->fileNames().last();
        open(last);
        QVERIFY(QFile::remove(folder->filePath(program->fileNames().first())));
        QTRY_COMPARE(program->rows(), 3);
        QTRY_COMPARE(strip->selectionModel()->selectedIndexes().value(0).column(), rowOf(last));
        program->click("backButton");
        QVERIFY(program->window->windowTitle().endsWith(program->fileNames()[rowOf(last) - 1]));
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
