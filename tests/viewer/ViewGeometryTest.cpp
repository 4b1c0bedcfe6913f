#include "viewer/ViewGeometry.h"

#include <QPixmap>
#include <QTest>

#include <cmath>

class ViewGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void layout_data();
    void layout();
    void scalingRoundsAsPixmapsDo();
    void zoomStep_data();
    void zoomStep();
    void percentText_data();
    void percentText();
    void neighbours();
    void buttonsFloatAtHalfHeight();
    void storedModes();
};

void ViewGeometryTest::layout_data()
{
    QTest::addColumn<ScaleMode>("mode");
    QTest::addColumn<QSize>("full");
    QTest::addColumn<double>("factor");
    QTest::addColumn<QSize>("image");
    QTest::addColumn<QSize>("label");
    const QSize view(1000, 500);
    QTest::addRow("fit, wide and thin")
        << ScaleMode::Fit << QSize(4000, 100) << 0. << QSize(1000, 25) << view;
    QTest::addRow("fit, high") << ScaleMode::Fit << QSize(3000, 4000) << 0. << QSize(375, 500) << view;
    QTest::addRow("fit, tie goes by the width")
        << ScaleMode::Fit << QSize(200, 100) << 0. << QSize(1000, 500) << view;
    QTest::addRow("fit, thinner than a pixel")
        << ScaleMode::Fit << QSize(9000, 2) << 0. << QSize(1000, 1) << view;
    QTest::addRow("width, overflows")
        << ScaleMode::FitWidth << QSize(100, 100) << 0. << QSize(1000, 1000) << QSize(1000, 1000);
    QTest::addRow("width, fits") << ScaleMode::FitWidth << QSize(400, 100) << 0. << QSize(1000, 250) << view;
    QTest::addRow("height, overflows")
        << ScaleMode::FitHeight << QSize(400, 100) << 0. << QSize(2000, 500) << QSize(2000, 500);
    QTest::addRow("real size, small") << ScaleMode::RealSize << QSize(60, 40) << 0. << QSize(60, 40) << view;
    QTest::addRow("real size, large")
        << ScaleMode::RealSize << QSize(3000, 40) << 0. << QSize(3000, 40) << QSize(3000, 500);
    QTest::addRow("free, from the height")
        << ScaleMode::Free << QSize(300, 155) << 0.5 << QSize(149, 77) << view;
    QTest::addRow("free, nothing was shown")
        << ScaleMode::Free << QSize(300, 155) << std::nan("") << QSize() << view;
    for (const ScaleMode mode : {ScaleMode::Fit, ScaleMode::FitWidth, ScaleMode::RealSize, ScaleMode::Free})
        QTest::addRow("no picture %d", int(mode)) << mode << QSize(0, 0) << 1. << QSize() << view;
}

void ViewGeometryTest::layout()
{
    QFETCH(ScaleMode, mode);
    QFETCH(QSize, full);
    QFETCH(double, factor);
    QFETCH(QSize, image);
    QFETCH(QSize, label);
    const ViewLayout layout = viewLayout(mode, full, QSize(1000, 500), factor);
    QCOMPARE(layout.image.isEmpty(), image.isEmpty());
    if (!image.isEmpty())
        QCOMPARE(layout.image, image);
    QCOMPARE(layout.label, label);
}

void ViewGeometryTest::scalingRoundsAsPixmapsDo()
{
    for (const QSize full : {QSize(7, 4), QSize(333, 100), QSize(101, 99), QSize(640, 427)}) {
        QPixmap pixmap(full);
        for (const int side : {5, 50, 97, 640, 1111}) {
            QCOMPARE(scaledToWidth(full, side), pixmap.scaledToWidth(side).size());
            QCOMPARE(scaledToHeight(full, side), pixmap.scaledToHeight(side).size());
        }
    }
    QCOMPARE(viewportOf(QSize(1000, 600)), QSize(984, 596));
    QCOMPARE(viewportOf(QSize(3, 3)), QSize(1, 1));
}

void ViewGeometryTest::zoomStep_data()
{
    QTest::addColumn<int>("shown");
    QTest::addColumn<int>("full");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("next"); // 0: refused
    QTest::addRow("in") << 1000 << 3000 << 1 << 1100;
    QTest::addRow("in, truncated") << 1005 << 3000 << 1 << 1105;
    QTest::addRow("out") << 1000 << 3000 << -1 << 900;
    QTest::addRow("out, truncated") << 1005 << 3000 << -1 << 904;
    QTest::addRow("down to 40 pixels") << 45 << 3000 << -1 << 40;
    QTest::addRow("not below 40 pixels") << 44 << 3000 << -1 << 0;
    QTest::addRow("up to four times") << 3636 << 1000 << 1 << 3999;
    QTest::addRow("not beyond four times") << 3700 << 1000 << 1 << 0;
    QTest::addRow("tiny picture, below the screen's width") << 300 << 10 << 1 << 330;
    QTest::addRow("tiny picture, above the screen's width") << 330 << 10 << 1 << 0;
    QTest::addRow("no step") << 1000 << 3000 << 0 << 0;
}

void ViewGeometryTest::zoomStep()
{
    QFETCH(int, shown);
    QFETCH(int, full);
    QFETCH(int, step);
    QFETCH(int, next);
    QCOMPARE(::zoomStep(shown, full, step, 340.0).value_or(0), next);
}

void ViewGeometryTest::percentText_data()
{
    QTest::addColumn<double>("factor");
    QTest::addColumn<QString>("text");
    QTest::addRow("one to one") << 1.0 << "100%";
    QTest::addRow("third") << 1.0 / 3 << "33.3333%";
    QTest::addRow("four times") << 4.0 << "400%";
    QTest::addRow("no picture") << std::nan("") << "nan%";
}

void ViewGeometryTest::percentText()
{
    QFETCH(double, factor);
    QFETCH(QString, text);
    QCOMPARE(::percentText(factor), text);
}

void ViewGeometryTest::neighbours()
{
    QCOMPARE(nextIndex(0, 3), 1);
    QCOMPARE(nextIndex(2, 3), 0);
    QCOMPARE(previousIndex(0, 3), 2);
    QCOMPARE(previousIndex(2, 3), 1);
    QCOMPARE(nextIndex(0, 1), 0);
    // The list may have shrunk, or be gone.
    QCOMPARE(nextIndex(7, 3), 0);
    QCOMPARE(previousIndex(7, 3), 2);
    QCOMPARE(nextIndex(7, 0), 0);
    QCOMPARE(previousIndex(7, 0), 0);
}

void ViewGeometryTest::buttonsFloatAtHalfHeight()
{
    const NavigationButtons places = navigationButtons(QSize(1000, 601), QSize(40, 31), QSize(40, 31));
    QCOMPARE(places.back, QPoint(20, 285));
    QCOMPARE(places.forward, QPoint(939, 285));
}

void ViewGeometryTest::storedModes()
{
    QCOMPARE(storedScaleMode(2), ScaleMode::FitWidth);
    QCOMPARE(storedScaleMode(3), ScaleMode::RealSize);
    for (const int value : {-1, 4, 7})
        QCOMPARE(storedScaleMode(value), ScaleMode::Fit);
}

QTEST_MAIN(ViewGeometryTest)
#include "ViewGeometryTest.moc"
