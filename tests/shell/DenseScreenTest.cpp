#include "support/Program.h"

#include <cmath>

/// The program on a screen with two pixels to a device-independent one, or one and a fraction: stripes of one
/// pixel stay stripes.
class DenseScreenTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(ratio() > 1); } // QT_SCALE_FACTOR, from CTest
    void init() { newFolder(); }
    void cleanup() { end(); }

    void viewLiesOnThePixelsOfTheScreen() // at any scaling
    {
        const int cut = ratio() == 2 ? 0 : 1;
        const auto stripesShown = [this] {
            const QWidget *const area = program->find("scrollArea");
            const QPoint middle = area->mapTo(program->window.get(), area->rect().center());
            return stripes(program->window->grab().toImage(), qRound(middle.y() * ratio()));
        };
        for (const int width : {1000, 1001, 1002, 1003}) {
            geometry = QRect(10, 10, width, 601);
            open(QSize(3000, 2000));
            auto *const area = program->find<QScrollArea>("scrollArea");
            const QSizeF view = QSizeF(area->size() - QSize(16, 4)) * ratio();
            program->click("fullButton");
            for (const int scrolled : {0, 17, 18}) { // by halves of a pixel, too
                area->horizontalScrollBar()->setValue(scrolled);
                QVERIFY(stripesShown() > view.width() - 2);
                // A part that is painted alone fits in.
                const QRect part(400, 320, 40, 20);
                const QRect onScreen(part.topLeft() * ratio(), part.size() * ratio());
                QCOMPARE(program->window->grab(part).toImage(),
                         program->window->grab().toImage().copy(onScreen));
            }
            QCOMPARE(area->widget()->width(), std::ceil((3000 + cut) / ratio()));

            // Fitted to the view, which it has the pixels for.
            const QSize pixels(int(view.width()) - cut, int(view.height()) - cut);
            open(pixels);
            QCOMPARE(text("percentResizeLabel"), "100%");
            for (int tick = 0; tick < 11; ++tick) // the last brings the smooth pass
                program->call("onLoadHighQualityTimer");
            QVERIFY(stripesShown() >= pixels.width());
        }
    }

    void adjustmentsShowEveryPixel()
    {
        const QSize view = open(QSize(500, 400));
        QCOMPARE(open(view * 2), view);
        const int all = view.width() * 2;
        const QRgb corner = grabbed("imageLabel").pixel(0, 0);
        program->call("onBrightnessAction");
        program->call("on_setFilter", Q_ARG(int, 0), Q_ARG(int, 20), Q_ARG(int, 100), Q_ARG(int, 0));
        QTRY_VERIFY(grabbed("imageLabel").pixel(0, 0) != corner);
        QCOMPARE(stripes(grabbed("imageLabel")), all);
    }

    void cropOverlayLeavesEveryPixel()
    {
        const QSize view = open(QSize(500, 400), true);
        QCOMPARE(open(view * 2, true), view);
        QTRY_VERIFY(stripes(grabbed("imageLabel")) > program->crop().width() * 9 / 10);
        QVERIFY(stripes(grabbed("imageLabel"), 2) < 2); // all in the shade
    }

    void iconsShowEveryPixelOfTheThumbnail()
    {
        save(QSize(256, 256));
        start({folder->path()}, 1);
        const QRect item = program->list()->visualRect(program->list()->model()->index(0, 0));
        const auto icon = [&] { return program->list()->viewport()->grab(item).toImage(); };
        QTRY_VERIFY(stripes(icon(), 128) >= 250);
    }

    void slideshowShowsEveryPixel()
    {
        const QSize screen = QGuiApplication::primaryScreen()->size() * 2;
        save(screen);
        VistamoGlobal::showCountdown = false;
        start({folder->path()}, 1);
        program->click("slideShowButton");
        const auto shown = [this] { return program->find("SlideShowForm")->grab().toImage(); };
        QTRY_COMPARE(shown().size(), screen);
        QTRY_COMPARE(stripes(shown()), screen.width());
    }

private:
    void save(QSize size)
    {
        const QImage image = Pictures::painted(size, [](int x, int) { return x % 2 ? 0xffffff : 0; });
        QVERIFY(image.save(path("stripes.png")));
    }

    /// Opens stripes of that size in a new program; the size of the view.
    QSize open(QSize size, bool cropping = false)
    {
        program.reset();
        save(size);
        start({folder->path()}, 1, geometry);
        program->open(0);
        if (cropping)
            program->click("cropButton");
        const QString expected = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        [&] { QTRY_COMPARE(text("sizeInfoLabel"), expected); }();
        return program->find("imageLabel")->size();
    }
    static qreal ratio() { return qGuiApp->devicePixelRatio(); }
    QImage grabbed(const char *widget) { return program->find(widget)->grab().toImage(); }

    /// The most pixels in a row, at this height or in the middle, that are dark and light in turn.
    static int stripes(const QImage &image, int y = -1)
    {
        int most = 0;
        int length = 0;
        bool wasLight = false;
        for (int x = 0; x < image.width(); ++x) {
            const bool isLight = image.pixelColor(x, y < 0 ? image.height() / 2 : y).lightness() > 127;
            length = x > 0 && isLight != wasLight ? length + 1 : 1;
            most = std::max(most, length);
            wasLight = isLight;
        }
        return most;
    }

    QRect geometry;
};

PROGRAM_TEST_MAIN(DenseScreenTest)
#include "DenseScreenTest.moc"
