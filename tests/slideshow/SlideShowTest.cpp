#include "slideshow/OptionsDialog.h"
#include "slideshow/SlideShowForm.h"
#include "support/Program.h"

/// The slideshow and its options.
class SlideShowTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }
    void cleanup() { end(); }

    void goesRoundPastBrokenFiles()
    {
        solid("red.png", "red");
        write("broken.png", "broken");
        solid("lime.png", "lime");
        start(true, 3);
        const QStringList order = program->fileNames();
        program->choose(1);
        program->click("slideShowButton");
        for (int step = 0; step < 4; ++step) { // from the selected one on, and round
            const QString colour = order[(1 + step) % 3].section('.', 0, 0);
            QTRY_COMPARE_WITH_TIMEOUT(middle(), QColor(colour == "broken" ? "blue" : colour), 2500);
            QVERIFY(digitsShown());
        }
        QTest::keyClick(program->window.get(), Qt::Key_Escape);
        QVERIFY(!VistamoGlobal::isFullScreen && program->find("widget1")->isVisible());
        QTRY_VERIFY(!form());

        // What remains when the folder is emptied under a show.
        program->click("slideShowButton");
        for (const QString &name : order)
            QVERIFY(QFile::remove(path(name)));
        QTRY_COMPARE(program->rows(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(middle(), QColor(Qt::blue), 3000);
        QTest::keyClick(program->window.get(), Qt::Key_Escape);
        QTRY_VERIFY(!form());
        program->click("slideShowButton"); // nothing to show
        QVERIFY(!VistamoGlobal::isFullScreen && !form());
    }

    void pictureFillsTheScreen()
    {
        const QSize screen = QGuiApplication::primaryScreen()->size();
        for (const QSize size : {QSize(8, 2), QSize(2, 8), QSize(3000, 200)}) {
            solid("only.png", "red", size);
            start(false);
            program->click("slideShowButton");
            QTRY_COMPARE(middle(), QColor(Qt::red));
            QVERIFY(!digitsShown());
            const QImage shown = image();
            QCOMPARE(shown.size(), screen);
            const bool wide = size.width() * screen.height() >= size.height() * screen.width();
            QCOMPARE(shown.pixelColor(2, screen.height() / 2), QColor(wide ? Qt::red : Qt::blue));
            QCOMPARE(shown.pixelColor(screen.width() / 2, 2), QColor(wide ? Qt::blue : Qt::red));
            program.reset(); // in the middle of the show
        }
    }

    void optionsAreStoredAtOnce()
    {
        solid("only.png", "red");
        start(true);
        programSettings().clear();
        OptionsDialog dialog(program->window.get());
        dialog.initDialog();
        auto *const delay = dialog.findChild<QSpinBox *>("delaySpinBox");
        const auto stored = [] {
            const QSettings settings = programSettings();
            QStringList values;
            for (const char *const key : {"Options/delay", "Options/showCountdown", "Options/bkColor"})
                values.append(settings.value(key).toString());
            return values.join(' ');
        };
        delay->setValue(7);
        dialog.findChild<QCheckBox *>("countdownCheckBox")->setChecked(false);
        for (const QVariant &answer : {QVariant(), QVariant(QColor(16, 32, 48))}) { // none is cancelled
            DialogSeam::setAnswerer([&](const DialogSeam::Question &) { return answer; });
            dialog.findChild<QPushButton *>("bkColorButton")->click();
            QCOMPARE(stored(), answer.isValid() ? "7 false #102030" : "7 false #000000");
        }
        const auto *const swatch = dialog.findChild<QWidget *>("bkColorWidget");
        QCOMPARE(swatch->palette().color(QPalette::Window), QColor(16, 32, 48));

        delay->setValue(1); // which changes no more as it is read
        QSettings settings = programSettings();
        settings.setValue("Options/bkColor", "nonsense");
        settings.setValue("Options/delay", "-3");
        settings.sync();
        dialog.initDialog();
        QCOMPARE(delay->value(), 1);
        QVERIFY(stored().startsWith("1 "));
        program->click("slideShowButton");
        QTRY_COMPARE(middle(), QColor(Qt::red));
    }

private:
    void start(bool countdown, int rows = 1)
    {
        ProgramTest::start({folder->path()}, rows);
        QSettings settings = programSettings();
        settings.setValue("Options/bkColor", "#0000ff");
        settings.setValue("Options/delay", 1);
        settings.setValue("Options/showCountdown", countdown);
    }
    void solid(const QString &name, const QColor &colour, QSize size = QSize(60, 40)) const
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(colour);
        QVERIFY(image.save(path(name)));
    }
    SlideShowForm *form() const { return program->window->findChild<SlideShowForm *>(); }
    QImage image() const { return form()->findChild<QLabel *>("imageLabel")->pixmap().toImage(); }
    QColor middle() const { return image().pixelColor(image().rect().center()); }
    bool digitsShown() const
    {
        const QImage shown = image();
        int white = 0;
        for (int x = shown.width() - 110; x < shown.width() - 30; ++x)
            white += shown.pixelColor(x, shown.height() - 80) == QColor(Qt::white);
        return white > 0;
    }
};

QTEST_MAIN(SlideShowTest)
#include "SlideShowTest.moc"
