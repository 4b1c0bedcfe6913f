#include "viewer/Adjustments.h"
#include "shared/VistamoGlobal.h"
#include "support/Pictures.h"
#include "viewer/ColourFilters.h"

#include <QtTest>

/// The view through the settings of the adjustments dialog.
class AdjustmentsTest : public QObject
{
    Q_OBJECT

private slots:
    void givesTheNewestViewAndTheWholePicture()
    {
        const QImage picture = Pictures::quarters(QSize(600, 400)).convertToFormat(QImage::Format_RGB32);
        Adjustments adjustments;
        QSignalSpy results(&adjustments, &Adjustments::resultAvailable);
        QSignalSpy finished(&adjustments, &Adjustments::finished);
        const auto ask = [&](int width, int brightness) {
            adjustments.setFilter(20, brightness, 50, 90);
            adjustments.request(QPixmap::fromImage(picture), width, false, 1);
        };
        const auto shown = [&] { return results.last().first().value<QImage>(); };
        adjustments.setActive(true);
        ask(100, 0); // nobody to do it
        adjustments.start();
        for (int width = 1; width <= 60; ++width)
            ask(width, width);
        QTRY_VERIFY(!results.isEmpty() && shown().width() == 60);
        QCOMPARE(shown(), VistamoGlobal().applyFilters(picture.scaled(60, 40), 20, 60, 50, 90));
        QVERIFY(results.size() < 60); // those before were out of date

        // Opened again while the thread ends: the next one is there by the time that is heard of.
        QCOMPARE(adjustments.apply(picture), ColourFilters::applyAdjustments(picture, 20, 60, 50, 90));
        QVERIFY(!adjustments.isActive());
        adjustments.start();
        adjustments.setActive(true);
        QVERIFY(finished.wait());
        results.clear();
        ask(30, 10);
        QTRY_COMPARE(results.size(), 1);
        QCOMPARE(shown(), VistamoGlobal().applyFilters(picture.scaled(30, 20), 20, 10, 50, 90));

        adjustments.cancel();
        QVERIFY(finished.wait());
        adjustments.end(QDeadlineTimer::Forever); // there is none
        QCOMPARE(finished.size(), 2);
    }
};

QTEST_MAIN(AdjustmentsTest)
#include "AdjustmentsTest.moc"
