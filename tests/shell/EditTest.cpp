#include "shared/image/Flipping.h"
#include "shared/image/MemoryBudget.h"
#include "support/Program.h"
#include "viewer/TImageLabel.h"

/// Edits and exports through the real form.
class EditTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder();
        QImage photo = Pictures::quarters(QSize(600, 400));
        const QByteArray exif("Exif\0\0II*\0\x08\0\0\0\1\0\x0f\1\2\0\x08\0\0\0\x1a\0\0\0\0\0\0\0Camera\0\0",
                              40);
        photo.setText("Raw profile type exif", "\nexif\n      40\n" + exif.toHex() + '\n');
        QVERIFY(photo.save(path("a.png")));
        Pictures::save(path("same.png"), QSize(600, 400));
        Pictures::save(path("small.png"), QSize(300, 200));
        DialogSeam::setAnswerer([this](const DialogSeam::Question &question) {
            questions.append(question.title + '|' + question.text);
            return QVariant(answer);
        });
        start({folder->path()}, 3);
        program->window->resize(1000, 800);
        program->open("a.png");
        QTRY_COMPARE(text("sizeInfoLabel"), "600x400");
        label = program->find<TImageLabel>("imageLabel");
    }

    void cleanup()
    {
        end();
        questions.clear();
    }

    void adjustmentsAreLiveAndApplied()
    {
        const QImage before = exported("before.png");
        choose("adjustButton", "Gaamma");
        auto *const dialog = program->find<QDialog>("VistamoFilterDialog");
        const auto slider = [&](QString name) { return dialog->findChild<QSlider *>(name + "Slider"); };
        const auto *const preview = dialog->findChild<QLabel *>("previewLabel");
        const QStringList names = {"contrast", "brightness", "gamma", "invertColors"};
        for (int i = 0; i < 4; ++i) {
            int values[4] = {};
            slider(names[i])->setValue(values[i] = 100);
            const QColor expected = filtered(before, values[0], values[1], values[2], values[3]);
            QCOMPARE(preview->pixmap().toImage().pixelColor(5, 5), expected);
            QTRY_COMPARE(colourShown(), expected);
            slider(names[i])->setValue(0);
        }
        slider("invertColors")->setValue(128);
        QCOMPARE(exported("live.png"), before); // the view alone has changed

        slider("gamma")->setValue(500); // further than its spin box goes, which pulls it back
        QCOMPARE(slider("gamma")->value(), 255);
        slider("gamma")->setValue(50);
        slider("contrast")->setValue(60);
        choose("adjustButton", "Contrast"); // open already
        spinBox("brightnessSpinBox")->setValue(100);
        QTRY_COMPARE(colourShown(), filtered(before, 60, 100, 50, 128));
        dialog->findChild<QPushButton *>("applyButton")->click();
        QVERIFY(!dialog->isVisible());
        QImage expected = before;
        for (const auto &[type, value] : {std::pair(1, 60), {0, 100}, {2, 50}, {4, 128}})
            expected = VistamoGlobal().applyFilter(expected, type, value);
        QCOMPARE(exported("applied.png"), expected);
        QTRY_COMPARE(colourShown(), expected.pixelColor(10, 10));

        // Opened again it has the old settings and the new picture, and the view goes by them until Escape.
        program->click("flipHButton");
        expected = flipped(expected, Qt::Horizontal);
        choose("adjustButton", "Contrast");
        QCOMPARE(slider("contrast")->value(), 60);
        QCOMPARE(preview->pixmap().toImage().pixelColor(5, 5), expected.pixelColor(10, 10));
        emit label->needToResizeImage(1);
        QTRY_COMPARE(colourShown(), filtered(expected, 60, 100, 50, 128));
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_COMPARE(colourShown(), expected.pixelColor(10, 10));
        choose("adjustButton", "Brightness"); // at once, while the thread may still be ending
        slider("brightness")->setValue(-50);
        QTRY_COMPARE(colourShown(), filtered(expected, 60, -50, 50, 128));
        // A huge view, of which not every pixel is computed, keeps its size.
        for (int i = 0; i < 40; ++i)
            emit label->needToResizeImage(1);
        QVERIFY(label->width() > 2000);
        QCOMPARE(text("percentResizeLabel"), QString::number(label->width() / 6.0, 'g', 6) + '%');
        const QRect corner(label->rect().bottomRight() - QPoint(20, 20), QSize(1, 1));
        const QImage mirrored = flipped(expected, Qt::Horizontal | Qt::Vertical); // the corner first
        QTRY_COMPARE(label->grab(corner).toImage().pixelColor(0, 0), filtered(mirrored, 60, -50, 50, 128));
        program->click("closeButton");
        QVERIFY(!dialog->isVisible());
    }

    void cropRectangle()
    {
        program->click("cropButton");
        QCOMPARE(label->height(), program->find("scrollArea")->height() - 4); // fitted beside the fields
        QCOMPARE(program->crop(), QRect(150, 100, 300, 200));
        // Shaded outside, framed, clear inside.
        const QImage view = label->grab().toImage().copy(program->place(QSize(600, 400)));
        const auto at = [&](double x, double y) {
            return view.pixelColor(int(x * program->scale()), int(y * program->scale()));
        };
        QCOMPARE(at(220, 150), Pictures::quarterColours()[0]);
        QVERIFY(at(50, 50).red() < Pictures::quarterColours()[0].red() / 2);
        QCOMPARE(at(220, 100), QColor(Qt::white));
        QCOMPARE(at(150, 100), QColor(Qt::blue));

        // Left and top move one edge alone; a rectangle may reach beyond the picture.
        spinBox("leftSpinBox")->setValue(160);
        QCOMPARE(program->crop(), QRect(160, 100, 290, 200));
        spinBox("widthSpinBox")->setValue(500);
        spinBox("heightSpinBox")->setValue(150);
        const QImage expected = exported("whole.png").copy(QRect(160, 100, 500, 150));
        answer = path("crop.png");
        program->click("exportCropImageButton");
        QCOMPARE(written(), expected);
        // What takes longer than a moment says how far it is.
        MemoryBudget::setBytes(1);
        auto all = std::make_unique<const MemoryBudget::Share>(1);
        exportTo(path("slow.png"));
        exportTo(path("late.png"));
        QTRY_COMPARE(text("exportLabel"), "Exporting, 2 left");
        all.reset();
        program->window->store(); // for a session that goes on after all
        QVERIFY(!program->find("exportLabel")->isVisible());
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
        answer = path("crop.png");

        // It stays while it is wide enough and the picture is of the same size.
        program->click("cropButton");
        choose("adjustButton", "Reset Image");
        QTRY_COMPARE(program->shown(QSize(600, 400)), "red green blue yellow");
        program->click("cropButton");
        QCOMPARE(program->crop(), QRect(160, 100, 500, 150));
        spinBox("widthSpinBox")->setValue(64);
        program->click("cropButton");
        program->click("cropButton");
        QCOMPARE(program->crop(), QRect(150, 100, 300, 200));

        // The pointer tells where a drag would begin, until it leaves the picture.
        emit label->mouseMove({}, label->rect().center());
        QCOMPARE(label->cursor().shape(), Qt::SizeAllCursor);
        emit label->mouseLeave();
        QCOMPARE(label->cursor().shape(), Qt::ArrowCursor);
    }

    void resetGoesByTheFile()
    {
        QVERIFY(QDir(folder->path()).mkdir("other"));
        Pictures::save(path("other/b.png"), QSize(90, 60));
        program->drop(path("other"), "b.png"); // the rows are those of the last folder as yet
        choose("adjustButton", "Reset Image");
        QVERIFY(program->isOn("b.png"));
        QTRY_COMPARE(text("sizeInfoLabel"), "90x60");
    }

    void editsOfTheThumbnailAreMadeOnThePicture()
    {
        Pictures::save(path("a.png"), QSize(4000, 3000));
        const auto reset = [this] { choose("adjustButton", "Reset Image"); };
        untilOpened([&] {
            reset();
            program->click("rotateRightButton");
            choose("adjustButton", "Invert Colors");
            program->find<QSlider>("invertColorsSlider")->setValue(128);
            program->find<QDialog>("VistamoFilterDialog")->findChild<QPushButton *>("applyButton")->click();
            program->click("flipHButton");
        });
        const QImage turned = QImage(path("a.png")).transformed(QTransform().rotate(90));
        const QImage expected = flipped(VistamoGlobal().applyFilter(turned, 4, 128), Qt::Horizontal);
        QCOMPARE(Pictures::difference(exported("edited.png"), expected), 0.0);
        reset();
        program->click("flipVButton");
        untilOpened(reset);
        QCOMPARE(program->shown(QSize(4000, 3000)), "red green blue yellow");
    }

    void exportGetsTheSuffixOfItsFilter()
    {
        const QString whole = "12.08.2026.png"; // what follows the last dot is no suffix
        for (const bool isThere : {false, true}) {
            questions.clear();
            if (isThere)
                QVERIFY(QFile::resize(path(whole), 0));
            exportTo(path("12.08.2026"));
            QTRY_COMPARE(QImage(path(whole)).size(), QSize(600, 400));
            QCOMPARE(questions.size(), isThere ? 2 : 1);
            QVERIFY(!isThere || questions[1].endsWith(QDir::toNativeSeparators(path(whole)) + '?'));
            QVERIFY(read(whole).contains("Camera")); // from the file on show
        }
    }

    void exportsAreFinishedWhateverFollows()
    {
        // Large enough to be still on its way at the end. At once, the picture itself is still to come.
        Pictures::save(path("a.png"), QSize(4000, 3000));
        program->click("cropButton");
        choose("adjustButton", "Reset Image");
        program->click("flipVButton");
        exportTo(path("early.png"));
        program->click("flipHButton");
        answer = path("crop.png");
        program->click("exportCropImageButton");
        choose("exportButton", "Copy to Clipboard");
        program->click("forwardButton");
        program->click("closeButton");
        const auto copied = [] { return QGuiApplication::clipboard()->image(); };
        QTRY_COMPARE(copied().size(), QSize(4000, 3000));
        QCOMPARE(Pictures::quartersOf(QImage(path("early.png"))), "blue yellow red green");
        const QImage part = copied().copy(QRect(1000, 750, 2000, 1500));
        QCOMPARE(Pictures::difference(QImage(answer), part), 0.0);
        program->open("a.png");
        const QString first = path("first.png");
        const QString second = path("second.png");
        exportTo(first);
        program->click("flipHButton"); // does not reach what is being written
        exportTo(second);
        exportTo({});                                               // cancelled
        QCOMPARE(questions.last(), "Save to Image File|" + second); // where it was saved last
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

    void exportTo(const QString &file)
    {
        answer = file;
        choose("exportButton", "Export to Image File");
    }
    /// What the program has exported, once it is there.
    QImage exported(const QString &name)
    {
        exportTo(path(name));
        return written();
    }
    QImage written() const
    {
        [this] { QTRY_VERIFY(QFile::exists(answer)); }();
        return QImage(answer).convertToFormat(QImage::Format_RGB32);
    }

    /// Opens a picture, and waits until it has taken the place of its thumbnail.
    void untilOpened(const std::function<void()> &open)
    {
        open();
        const double ofThumbnail = program->scale();
        QTRY_VERIFY(program->scale() < ofThumbnail);
    }

    QSpinBox *spinBox(const char *name) const { return program->find<QSpinBox>(name); }
    static QColor filtered(const QImage &image, int contrast, int brightness, int gamma, int invert)
    {
        return VistamoGlobal().applyFilters(image, contrast, brightness, gamma, invert).pixelColor(10, 10);
    }
    QColor colourShown() const
    {
        const QPoint corner = program->place(QSize(600, 400)).topLeft();
        return label->grab().toImage().pixelColor(corner + QPoint(10, 10));
    }

    TImageLabel *label = nullptr;
    QString answer;
    QStringList questions;
};

PROGRAM_TEST_MAIN(EditTest)
#include "EditTest.moc"
