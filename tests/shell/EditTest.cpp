#include "support/Program.h"
#include "viewer/TImageLabel.h"
#include "viewer/VistamoProcessImageThread.h"

#include <QtTest>
#include <QtWidgets>

/// Edits and exports through the real form.
class EditTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder();
        Pictures::save(path("a.png"), QSize(600, 400));
        DialogSeam::setAnswerer([this](const DialogSeam::Question &question) {
            questions.append(question.title + '|' + question.text);
            return QVariant(answer);
        });
        start({folder->path()}, 1);
        program->window->resize(1000, 800);
        program->open(0);
        QTRY_COMPARE(text("sizeInfoLabel"), "600x400");
        label = program->find<TImageLabel>("imageLabel");
    }

    void cleanup()
    {
        end();
        questions.clear();
        lastPath.clear();
    }

    void turnsAndMirrors()
    {
        const QString upright = "red green blue yellow";
        QCOMPARE(shown(), upright);
        const QString percent = text("percentResizeLabel");
        program->click("rotateRightButton");
        QCOMPARE(shown(QSize(400, 600)), "blue red yellow green");
        QCOMPARE(text("sizeInfoLabel"), "600x400");                       // tells of the file
        QVERIFY(label->height() > program->find("scrollArea")->height()); // keeps its scale
        QCOMPARE(text("percentResizeLabel"), percent);
        program->click("rotateLeftButton");
        QCOMPARE(shown(), upright);
        program->click("flipHButton");
        QCOMPARE(shown(), "green red yellow blue");
        program->click("flipVButton");
        QCOMPARE(shown(), "yellow blue green red");
        choose("adjustButton", "Reset Image");
        QTRY_COMPARE(shown(), upright);
    }

    void adjustmentsAreLiveAndApplied()
    {
        const QImage before = exported("before.png");
        choose("adjustButton", "Gaamma");
        auto *const dialog = program->window->findChild<QDialog *>("VistamoFilterDialog");
        QVERIFY(dialog && dialog->isVisible());
        const auto slider = [&](const char *name) { return dialog->findChild<QSlider *>(name); };
        const auto spin = [&](const char *name) { return dialog->findChild<QSpinBox *>(name); };
        slider("invertColorsSlider")->setValue(128);
        QCOMPARE(spin("invertColorsSpinBox")->value(), 128);
        const QImage inverted = VistamoGlobal().applyFilters(before, 0, 0, 0, 128);
        QTRY_COMPARE(colourShown(), inverted.pixelColor(10, 10));
        QVERIFY(same(exported("live.png"), before)); // the view alone has changed

        // The gamma slider goes further than its spin box, which pulls it back when it moves.
        slider("gammaSlider")->setValue(500);
        QCOMPARE(spin("gammaSpinBox")->value(), 255);
        QCOMPARE(slider("gammaSlider")->value(), 255);
        slider("gammaSlider")->setValue(0);
        slider("contrastSlider")->setValue(60);
        spin("brightnessSpinBox")->setValue(100);
        dialog->findChild<QPushButton *>("applyButton")->click();
        QVERIFY(!dialog->isVisible());
        QImage expected = before;
        for (const auto &[type, value] : {std::pair(1, 60), {0, 100}, {2, 0}, {4, 128}})
            expected = VistamoGlobal().applyFilter(expected, type, value);
        QVERIFY(same(exported("applied.png"), expected));
        QTRY_COMPARE(colourShown(), expected.pixelColor(10, 10));

        // Opened again it has the old settings, and the view goes by them until Escape cancels.
        choose("adjustButton", "Contrast");
        QCOMPARE(slider("contrastSlider")->value(), 60);
        emit label->needToResizeImage(1);
        QTRY_COMPARE(colourShown(),
                     VistamoGlobal().applyFilters(expected, 60, 100, 0, 128).pixelColor(10, 10));
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_COMPARE(colourShown(), expected.pixelColor(10, 10));
        choose("adjustButton", "Brightness"); // at once, while the thread may still be ending
        slider("brightnessSlider")->setValue(-255);
        QTRY_COMPARE(colourShown(),
                     VistamoGlobal().applyFilters(expected, 60, -255, 0, 128).pixelColor(10, 10));
        program->click("closeButton");
        QVERIFY(!dialog->isVisible());
    }

    void hugeLiveViewKeepsItsSize()
    {
        choose("adjustButton", "Contrast");
        program->window->findChild<QSlider *>("brightnessSlider")->setValue(-50);
        for (int i = 0; i < 40; ++i)
            emit label->needToResizeImage(1);
        const QSize size = label->size();
        QVERIFY(size.width() > 2000);
        QTRY_COMPARE(text("percentResizeLabel"), QString::number(size.width() / 6.0, 'g', 6) + '%');
        QTest::qWait(300);
        QCOMPARE(label->grab(QRect(size.width() - 20, size.height() - 20, 1, 1)).toImage().pixelColor(0, 0),
                 VistamoGlobal().applyFilters(exported("a2.png"), 0, -50, 0, 0).pixelColor(599, 399));
    }

    void cropRectangle()
    {
        const int height = program->find("scrollArea")->height();
        program->click("cropButton");
        QVERIFY(program->find("cropWidget")->isVisible());
        QVERIFY(program->find("scrollArea")->height() < height);
        QCOMPARE(label->height(), program->find("scrollArea")->height() - 4);
        QCOMPARE(program->crop(), QRect(150, 100, 300, 200));
        // Shaded outside, framed, clear inside.
        const QImage view = label->grab().toImage();
        const double scale = program->scale();
        const QPoint corner = program->place(QSize(600, 400)).topLeft();
        const auto at = [&](double x, double y) {
            return view.pixelColor(corner + QPoint(int(x * scale), int(y * scale)));
        };
        QCOMPARE(at(220, 150), Pictures::quarterColours()[0]);
        QVERIFY(at(50, 50).red() < Pictures::quarterColours()[0].red() / 2);
        QCOMPARE(at(220, 100), QColor(Qt::white));
        QCOMPARE(view.pixelColor(corner + QPoint(int(150 * scale), int(100 * scale))), QColor(Qt::blue));

        // Left and top move one edge alone; a rectangle may reach beyond the picture.
        spinBox("leftSpinBox")->setValue(160);
        QCOMPARE(program->crop(), QRect(160, 100, 290, 200));
        spinBox("widthSpinBox")->setValue(500);
        spinBox("heightSpinBox")->setValue(150);
        const QImage expected = exported("whole.png").copy(QRect(160, 100, 500, 150));
        QVERIFY(same(exported("crop.png", "exportCropImageButton"), expected));

        // It stays while it is wide enough and the picture is of the same size.
        program->click("cropButton");
        QCOMPARE(program->find("scrollArea")->height(), height);
        choose("adjustButton", "Reset Image");
        QTRY_COMPARE(shown(), "red green blue yellow");
        program->click("cropButton");
        QCOMPARE(program->crop(), QRect(160, 100, 500, 150));
        spinBox("widthSpinBox")->setValue(64);
        program->click("cropButton");
        program->click("cropButton");
        QCOMPARE(program->crop(), QRect(150, 100, 300, 200));
        program->click("closeButton");
    }

    void exportsAreFinishedAtTheEnd()
    {
        // Large enough to be still on its way when the program ends. At once, it waits for the picture
        // itself.
        Pictures::save(path("a.png"), QSize(4000, 3000));
        choose("adjustButton", "Reset Image");
        const QString first = path("first.png");
        const QString second = path("second.png");
        answer = first;
        choose("exportButton", "Export to Image File");
        QTRY_COMPARE(VistamoGlobal::exportImagePath, first);
        program->click("flipHButton"); // does not reach what is being written
        answer = second;
        choose("exportButton", "Export to Image File");
        answer.clear(); // cancelled
        choose("exportButton", "Export to Image File");
        QCOMPARE(questions, QStringList({"Save to Image File|", "Save to Image File|" + first,
                                         "Save to Image File|" + second}));
        QVERIFY(!QFile::exists(second));
        program.reset();
        QCOMPARE(QImage(first).size(), QSize(4000, 3000));
        QCOMPARE(Pictures::quartersOf(QImage(first)), "red green blue yellow");
        QCOMPARE(Pictures::quartersOf(QImage(second)), "green red yellow blue");
    }

private:
    void choose(const char *button, const QString &text)
    {
        for (QAction *const action : program->find<QToolButton>(button)->menu()->actions()) {
            if (action->text() == text)
                return action->trigger();
        }
        QFAIL(qPrintable("no entry " + text));
    }

    /// What the program writes, once it is there.
    QImage exported(const QString &name, const char *button = nullptr)
    {
        answer = lastPath = path(name);
        if (button)
            program->click(button);
        else
            choose("exportButton", "Export to Image File");
        QElapsedTimer time;
        for (time.start(); !QFile::exists(lastPath) && time.elapsed() < 5000;)
            QTest::qWait(10);
        return QImage(lastPath);
    }

    static bool same(const QImage &a, const QImage &b)
    {
        return a.convertToFormat(QImage::Format_RGB32) == b.convertToFormat(QImage::Format_RGB32);
    }

    QSpinBox *spinBox(const char *name) const { return program->find<QSpinBox>(name); }
    QString shown(QSize size = QSize(600, 400)) const { return program->shown(size); }
    QColor colourShown() const
    {
        const QPoint corner = program->place(QSize(600, 400)).topLeft();
        return label->grab().toImage().pixelColor(corner + QPoint(10, 10));
    }

    TImageLabel *label = nullptr;
    QString answer;
    QString lastPath;
    QStringList questions;
};

QTEST_MAIN(EditTest)
#include "EditTest.moc"
