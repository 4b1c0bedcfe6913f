#include "shell/WindowGeometry.h"

#include <QTest>

#include <climits>

class WindowGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void restored_data();
    void restored();
};

void WindowGeometryTest::restored_data()
{
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<QRect>("rect");
    QTest::addRow("first start") << 0 << 0 << 0 << 0 << QRect(0, 0, 986, 513);
    QTest::addRow("fits") << 50 << 60 << 1200 << 800 << QRect(50, 60, 1200, 800);
    QTest::addRow("left of the screen") << -1 << -1 << 1200 << 800 << QRect(100, 100, 1200, 800);
    QTest::addRow("narrow at the right edge stays beyond it")
        << 1920 << 10 << 900 << 600 << QRect(1920, 10, 986, 600);
    QTest::addRow("wide is moved back") << 1000 << 10 << 1000 << 600 << QRect(920, 10, 1000, 600);
    QTest::addRow("too wide keeps its place") << 300 << 10 << 2500 << 600 << QRect(300, 10, 1920, 600);
    QTest::addRow("higher than the screen, not than wide")
        << 10 << 10 << 1000 << 1500 << QRect(10, -420, 1000, 1500);
    QTest::addRow("higher than wide") << 10 << 10 << 1000 << 2000 << QRect(10, 10, 1000, 1080);
    QTest::addRow("nonsense") << INT_MAX << INT_MIN << INT_MAX << INT_MAX << QRect(100, 100, 1920, 1080);
}

void WindowGeometryTest::restored()
{
    QFETCH(int, x);
    QFETCH(int, y);
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(QRect, rect);
    QCOMPARE(restoredGeometry({x, y, w, h}, QSize(1920, 1080)), rect);
}

QTEST_GUILESS_MAIN(WindowGeometryTest)
#include "WindowGeometryTest.moc"
