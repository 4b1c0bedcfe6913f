#include "viewer/PictureView.h"
#include "shared/VistamoGlobal.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "viewer/Adjustments.h"
#include "viewer/ColourFilters.h"

static QPixmap filled(const QColor &colour)
{
    QPixmap pixmap(8000, 6000);
    pixmap.fill(colour);
    return pixmap;
}

/// The picture on show: what becomes of its view, by itself and through the adjustments.
class PictureViewTest : public QObject
{
    Q_OBJECT

private slots:
    void viewFollowsPictureModeAndEdits()
    {
        PictureView view;
        const QSize port(300, 300);
        view.exchange(QPixmap::fromImage(Pictures::quarters(QSize(600, 400))));
        QVERIFY(view.refit({port}) == port && view.measure() == 0.5);
        QCOMPARE(view.redraw(false, {port}).pixels.cacheKey(), view.picture().cacheKey()); // not scaled
        QCOMPARE(view.redraw(true, {port}).pixels.size(), QSize(300, 200));
        // A turned picture keeps its scale. The view has pixels of its own by now.
        QVERIFY(!view.isTurned());
        view.turn(true);
        QVERIFY(view.isTurned());
        QCOMPARE(view.displayed().size, QSize(200, 300));
        for (const QPixmap &pixmap : {view.displayed().pixels, view.picture()})
            QCOMPARE(Pictures::quartersOf(pixmap.toImage()), "blue red yellow green");
        // What the filters give is as wide as the view, and may have other pixels.
        QImage filtered(100, 150, QImage::Format_RGB32);
        filtered.setDevicePixelRatio(0.5);
        view.setFiltered(filtered);
        QCOMPARE(view.displayed().size, QSize(200, 300));
        // Free zoom: its scale holds for the next picture, whatever the room.
        QVERIFY(view.zoom(1, 0) && view.measure() == 0.55);
        QCOMPARE(view.standIn(QPixmap(1000, 100)).size(), QSize(400, 600)); // not turned
        QCOMPARE(view.refit({port}), QSize(550, 300));

        // The smooth view is due eleven ticks after the last fast one, and is the last itself.
        QSignalSpy ticks(&view, &PictureView::highQualityTick);
        QVERIFY(ticks.wait(patience) && !view.countDown());
        view.redraw(false, {port});
        for (int tick = 1; tick <= 11; ++tick)
            QCOMPARE(view.countDown(), tick == 11);
        view.redraw(true, {port});
        QVERIFY(!ticks.wait(300));
    }

    void smoothViewOfALargePictureHasAllOfItsDetail()
    {
        const QImage noise = Pictures::noise(QSize(5000, 4000));
        const Viewport port = {QSize(1000, 800)};
        PictureView view;
        view.exchange(QPixmap::fromImage(noise));
        view.reduce();
        const auto refitted = [&] { return view.refit(port) == port.size; };
        QTRY_VERIFY(refitted() && view.redraw(false, port).pixels.width() < 5000);
        QTRY_VERIFY(view.countDown());
        QVERIFY(!view.redraw(true, port).smooth); // it is being made
        view.redraw(false, port);                 // the view has changed: not wanted any more
        QVERIFY(!view.countDown());
        QTRY_VERIFY(view.countDown());
        QVERIFY(!view.redraw(true, port).smooth);
        QTRY_VERIFY(view.countDown());
        QCOMPARE(view.redraw(true, port).pixels.toImage(),
                 noise.scaled(port.size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));

        // More than half as large and than two viewports: painted out of the picture, not out of its copy.
        const Viewport low = {QSize(2700, 100)};
        view.setMode(ScaleMode::FitWidth);
        QCOMPARE(view.refit(low), QSize(2700, 2160));
        QVERIFY(view.redraw(false, low).pixels.width() < 5000);
        for (int pass = 0; pass < 2; ++pass) {
            QTRY_VERIFY(view.countDown());
            view.redraw(true, low);
        }
        QCOMPARE(view.displayed().pixels.cacheKey(), view.picture().cacheKey());
    }

    void copyServesViewsThatItHasThePixelsFor()
    {
        ReducedPicture reduced;
        for (const QColor colour : {Qt::red, Qt::blue}) {
            const QPixmap large = filled(colour);
            const auto widthFor = [&](int width) {
                return reduced.enoughFor(large, QSize(width, width * 3 / 4)).width();
            };
            QCOMPARE(reduced.enoughFor(large, QSize(800, 600)).cacheKey(), large.cacheKey());
            reduced.want(large);
            QTRY_VERIFY(widthFor(800) < 8000);
            const int width = widthFor(800);
            QVERIFY(width >= 2 * 800);
            QCOMPARE(widthFor(width), width);
            QCOMPARE(reduced.enoughFor(large, QSize(width + 1, 600)).width(), 8000);
            QCOMPARE(reduced.enoughFor(large, QSize(800, 600)).toImage().pixelColor(9, 9), colour);
        }
    }

    void programMayEndWhileTheCopyIsMade()
    {
        for (int i = 0; i < 3; ++i)
            QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {"end"}), 0);
    }

    void adjustmentsGiveTheNewestViewAndTheWholePicture()
    {
        const QImage picture = Pictures::quarters(QSize(600, 400)).convertToFormat(QImage::Format_RGB32);
        Adjustments adjustments;
        QImage view;
        connect(&adjustments, &Adjustments::resultAvailable, this,
                [&](const QImage &image) { view = image; });
        QSignalSpy finished(&adjustments, &Adjustments::finished);
        const auto ask = [&](int width) {
            adjustments.setFilter(20, width, 50, 90);
            adjustments.request(QPixmap::fromImage(picture), width, false);
            return VistamoGlobal().applyFilters(picture.scaledToWidth(width), 20, width, 50, 90);
        };
        adjustments.setActive(true);
        adjustments.start();
        ask(33);
        QTRY_COMPARE(view, ask(60));
        // Opened again while the thread ends: there is another one by the time that this is heard of.
        QCOMPARE(adjustments.apply()(picture), ColourFilters::applyAdjustments(picture, 20, 60, 50, 90));
        adjustments.setActive(true);
        QVERIFY(finished.wait(patience));
        QTRY_COMPARE(view, ask(30));
        // A view that comes after the dialog is not shown.
        view = QImage();
        ask(80);
        adjustments.cancel();
        QVERIFY(finished.wait(patience) && view.isNull());
    }
};

int main(int argc, char *argv[])
{
    const QGuiApplication application(argc, argv);
    if (argc == 2 && !qstrcmp(argv[1], "end")) {
        ReducedPicture().want(filled(Qt::red));
        return 0;
    }
    PictureViewTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PictureViewTest.moc"
