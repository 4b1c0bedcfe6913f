#include "support/Pictures.h"
#include "viewer/TImageLabel.h"
#include "viewer/TLabel.h"
#include "viewer/TTableView.h"
#include "viewer/VistamoLoadImageThread.h"

#include <QScrollArea>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

class ViewWidgetsTest : public QObject
{
    Q_OBJECT

private slots:
    void labelShowsThePictureCentred_data();
    void labelShowsThePictureCentred();
    void hugeViewPaintsWhatIsVisible();
    void nullPictureLeavesTheLabelBlank();
    void wheelMakesSteps_data();
    void wheelMakesSteps();
    void anyButtonDrags();
    void stripSwallowsKeys();
    void doubleClickIsReported();
    void picturesComeInTheOrderAskedFor();
    void heldKeyDoesNotPileUpWork();
};

void ViewWidgetsTest::labelShowsThePictureCentred_data()
{
    QTest::addColumn<QSize>("displayed");
    QTest::addColumn<bool>("smooth");
    QTest::addColumn<bool>("whole");
    for (const QSize size : {QSize(120, 80), QSize(37, 23), QSize(300, 200)}) {
        QTest::addRow("%d fast", size.width()) << size << false << false;
        QTest::addRow("%d smooth", size.width()) << size << true << false;
        QTest::addRow("%d smooth in one piece", size.width()) << size << true << true;
    }
}

void ViewWidgetsTest::labelShowsThePictureCentred()
{
    QFETCH(QSize, displayed);
    QFETCH(bool, smooth);
    QFETCH(bool, whole);
    const QPixmap full = QPixmap::fromImage(Pictures::quarters(QSize(60, 40)));
    const QRect all(QPoint(), displayed);
    TImageLabel label;
    label.resize(400, 300);
    label.showImage(full, {displayed, smooth, whole ? smoothPart(full, displayed, all, 1.0) : QPixmap()});

    const QImage shot = label.grab().toImage();
    QRect place(QPoint(), displayed);
    place.moveTopLeft(QPoint((400 - displayed.width()) / 2, (300 - displayed.height()) / 2));
    QCOMPARE(Pictures::quartersOf(shot.copy(place)), "red green blue yellow");
    // Nothing beside it, and its own colour up to the edge.
    const QColor background = label.palette().color(QPalette::Window);
    const QList<QColor> colours = Pictures::quarterColours();
    QCOMPARE(shot.pixelColor(place.topLeft() - QPoint(1, 1)), background);
    QCOMPARE(shot.pixelColor(place.topLeft()), colours[0]);
    QCOMPARE(shot.pixelColor(place.bottomRight()), colours[3]);
    QCOMPARE(shot.pixelColor(place.bottomRight() + QPoint(1, 1)), background);
}

void ViewWidgetsTest::hugeViewPaintsWhatIsVisible()
{
    // A billion pixels and more: never to be rendered as a whole.
    const QSize displayed(60000, 40000);
    const QPixmap full = QPixmap::fromImage(Pictures::quarters(QSize(600, 400)));
    QScrollArea area;
    area.resize(500, 400);
    auto *const label = new TImageLabel;
    area.setWidget(label);
    label->setFixedSize(displayed);
    area.show();
    for (const bool smooth : {false, true}) {
        label->showImage(full, {displayed, smooth});
        const QList<QColor> colours = Pictures::quarterColours();
        const QList<QPoint> places = {QPoint(0, 0), QPoint(59000, 0), QPoint(0, 39000), QPoint(59000, 39000)};
        for (int i = 0; i < places.size(); ++i) {
            area.ensureVisible(places[i].x() + 250, places[i].y() + 200, 250, 200);
            QCOMPARE(area.viewport()->grab().toImage().pixelColor(200, 200), colours[i]);
        }
    }
}

void ViewWidgetsTest::nullPictureLeavesTheLabelBlank()
{
    TImageLabel label;
    label.setText("TextLabel");
    label.resize(100, 100);
    label.showImage(QPixmap(), {});
    const QImage shot = label.grab().toImage();
    QImage blank(shot.size(), shot.format());
    blank.fill(label.palette().color(QPalette::Window));
    QCOMPARE(shot, blank);
}

void ViewWidgetsTest::wheelMakesSteps_data()
{
    QTest::addColumn<QPoint>("angle");
    QTest::addColumn<int>("step"); // 0: none
    QTest::addRow("notch up") << QPoint(0, 120) << 1;
    QTest::addRow("many notches up") << QPoint(0, 960) << 1;
    QTest::addRow("notch down") << QPoint(0, -120) << -1;
    QTest::addRow("half a degree counts") << QPoint(0, 4) << 1;
    QTest::addRow("half a degree down counts") << QPoint(0, -4) << -1;
    QTest::addRow("less does not") << QPoint(0, 3) << 0;
    QTest::addRow("sideways") << QPoint(120, 0) << 0;
}

void ViewWidgetsTest::wheelMakesSteps()
{
    QFETCH(QPoint, angle);
    QFETCH(int, step);
    TImageLabel label;
    QSignalSpy steps(&label, &TImageLabel::needToResizeImage);
    QWheelEvent event(QPointF(5, 5), QPointF(5, 5), QPoint(), angle, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&label, &event);
    QCOMPARE(steps.size(), step ? 1 : 0);
    if (step)
        QCOMPARE(steps[0][0].toInt(), step);
    QVERIFY(event.isAccepted()); // or the scroll area would scroll as well
}

void ViewWidgetsTest::anyButtonDrags()
{
    TImageLabel label;
    label.resize(100, 100);
    QSignalSpy starts(&label, &TImageLabel::startDragImage);
    QSignalSpy ends(&label, &TImageLabel::endDragImage);
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton})
        QTest::mouseClick(&label, button);
    QCOMPARE(starts.size(), 3);
    QCOMPARE(ends.size(), 3);
    QVERIFY(!label.hasMouseTracking());
    label.setCropMode(true);
    QVERIFY(label.hasMouseTracking());
}

void ViewWidgetsTest::stripSwallowsKeys()
{
    QStandardItemModel model(1, 5);
    TTableView strip;
    strip.setModel(&model);
    strip.show();
    strip.selectColumn(2);
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Left, Qt::Key_Home, Qt::Key_A})
        QTest::keyClick(&strip, key);
    QCOMPARE(strip.currentIndex().column(), 2);
    QCOMPARE(strip.selectionModel()->selectedColumns().size(), 1);
}

void ViewWidgetsTest::doubleClickIsReported()
{
    TLabel label;
    QSignalSpy clicks(&label, &TLabel::mouseDoubleClick);
    QTest::mouseDClick(&label, Qt::LeftButton);
    QCOMPARE(clicks.size(), 1);
}

void ViewWidgetsTest::picturesComeInTheOrderAskedFor()
{
    QTemporaryDir folder;
    QList<QSize> sizes;
    VistamoLoadImageThread thread;
    QObject::connect(&thread, &VistamoLoadImageThread::imageLoaded, this,
                     [&](const QPixmap &pixmap) { sizes.append(pixmap.size()); });
    const QList<QSize> expected = {QSize(900, 700), QSize(0, 0), QSize(10, 10)};
    for (const QSize size : expected) {
        const QString path = folder.filePath(QStringLiteral("%1.png").arg(size.width()));
        if (!size.isEmpty())
            Pictures::save(path, size);
        thread.addFile(path);
    }
    thread.start();
    QTRY_COMPARE(sizes, expected);
    QVERIFY(thread.wait(5000));
    thread.addFile("too late");
    QCOMPARE(thread.takeWaiting(), QStringList("too late"));
}

void ViewWidgetsTest::heldKeyDoesNotPileUpWork()
{
    VistamoLoadImageThread thread;
    for (int i = 0; i < 40; ++i)
        thread.addFile(QString::number(i));
    QCOMPARE(thread.takeWaiting(), QStringList({"0", "1", "2", "3", "4", "5", "6", "7", "8", "39"}));
}

QTEST_MAIN(ViewWidgetsTest)
#include "ViewWidgetsTest.moc"
