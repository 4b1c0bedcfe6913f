#include "library/FileNames.h"
#include "library/ThumbnailDelegate.h"
#include "library/TListView.h"
#include "shared/dialogs/MessageBox.h"
#include "shell/ReadableStyle.h"
#include "support/Pictures.h"
#include "viewer/CropOverlay.h"
#include "viewer/TImageLabel.h"
#include "viewer/TTableView.h"

#include <QtTest>
#include <QtWidgets>

namespace {

QStandardItem *newItem(const QString &name, bool checkable)
{
    QPixmap square(256, 256);
    square.fill(Qt::red);
    auto *const item = new QStandardItem(QIcon(square), wrapFileName(name));
    item->setCheckable(checkable);
    return item;
}

/// Has the palette of a desktop, which may change.
class Desktop : public QProxyStyle
{
public:
    using QProxyStyle::polish;
    using QProxyStyle::QProxyStyle;
    void polish(QPalette &palette) override
    {
        palette.setColor(QPalette::Highlight, highlight);
        palette.setColor(QPalette::Window, ground);
    }

    QColor highlight;
    QColor ground = Qt::white;
};

/// True if the wheel over a widget is taken for its own.
bool turnWheel(QWidget *widget, QPoint turn, Qt::KeyboardModifiers keys = Qt::NoModifier)
{
    QWheelEvent event(QPointF(5, 5), QPointF(5, 5), QPoint(), turn, Qt::NoButton, keys, Qt::NoScrollPhase,
                      false);
    auto *const area = qobject_cast<QAbstractScrollArea *>(widget);
    QApplication::sendEvent(area ? area->viewport() : widget, &event);
    return event.isAccepted();
}

} // namespace

/// The widgets of the list and of the viewer, each by itself.
class WidgetsTest : public QObject
{
    Q_OBJECT

private slots:
    void namesAreNoMarkup()
    {
        const QString name = "<b>a</b> & <i>b</i>";
        QString shown;
        QTimer::singleShot(0, [&] {
            for (const auto *const label : QApplication::activeModalWidget()->findChildren<QLabel *>())
                shown += label->textFormat() != Qt::PlainText && Qt::mightBeRichText(label->text())
                             ? QTextDocumentFragment::fromHtml(label->text()).toPlainText()
                             : label->text();
            QApplication::activeModalWidget()->close();
        });
        QVERIFY(!MessageBox::confirm(name, name));
        QCOMPARE(shown, name + name);
    }

    void selectionStaysReadableWhenTheThemeChanges()
    {
        auto *const desktop = new Desktop("Fusion");
        QApplication::setStyle(new ReadableStyle(desktop));
        const auto shown = [](QPalette::ColorRole role, QColor &ofDesktop, const QColor &colour) {
            ofDesktop = colour;
            QApplication::setPalette({});
            return QApplication::palette().color(role);
        };
        const QColor light(160, 200, 250); // under white texts
        QVERIFY(shown(QPalette::Highlight, desktop->highlight, light).lightness() < light.lightness());
        for (const Qt::GlobalColor strong : {Qt::darkBlue, Qt::black})
            QCOMPARE(shown(QPalette::Highlight, desktop->highlight, strong), QColor(strong));
        QCOMPARE(shown(QPalette::Link, desktop->ground, Qt::white), QColor(Qt::blue));
        QVERIFY(shown(QPalette::Link, desktop->ground, Qt::black).lightness() > 150);
    }

    void sizesAreThoseOfTheDefaultDelegate()
    {
        QApplication::setStyle("Fusion");
        QStringList names = {"", QString(251, 'i'), "line\nfeed.png",
                             QStringLiteral("\u05e9\u05dc \u4e16.jpg")};
        QRandomGenerator random(7);
        for (int i = 0; i < 300; ++i) {
            names.append(QString(random.bounded(1, 60), ' '));
            for (QChar &letter : names.last())
                letter = QChar(random.bounded(32, 127));
        }
        QStandardItemModel model;
        for (const QString &name : names)
            for (const bool checkable : {false, true})
                model.appendRow(newItem(name, checkable));
        QListView expected;
        QListView actual;
        expected.setModel(&model);
        actual.setModel(&model);
        ThumbnailDelegate delegate;
        actual.setItemDelegate(&delegate);
        // A change of the icons or of the font must not leave old sizes behind.
        for (const int size : {0, 128, 256, 512, 17}) {
            for (QListView *const view : {&expected, &actual}) {
                view->setViewMode(QListView::IconMode);
                view->setSpacing(10);
                view->resize(900, 700);
                view->setIconSize(QSize(size, size));
                view->setFont(QFont(view->font().family(), size == 17 ? 17 : 10));
                view->show();
            }
            for (int row = 0; row < model.rowCount(); ++row)
                QCOMPARE(actual.visualRect(model.index(row, 0)), expected.visualRect(model.index(row, 0)));
        }
    }

    void dragOfACropRectangleLeavesNothingBehind()
    {
        QRandomGenerator random(7);
        const auto any = [&](int least, int most) { return random.bounded(least, most); };
        QPixmap full(90, 70);
        full.fill(Qt::green);
        TImageLabel label;
        label.resize(120, 100);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        const auto seen = [&] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::UpdateRequest);
            return label.screen()->grabWindow(label.winId()).toImage();
        };
        for (int i = 0; i < 200; ++i) {
            const QRect from(any(0, 90), any(0, 70), any(-60, 60), any(-60, 60)); // also turned over
            const QRect to = from.adjusted(any(-9, 9), any(-9, 9), any(-30, 30), any(-30, 30));
            for (const QRect &crop : {from, to}) {
                label.showImage(full, {full.size()}, crop);
                QCOMPARE(seen(), label.grab().toImage());
            }
        }
    }

    void partsFitTogether()
    {
        // A grid shows any shift between what was painted at once and what was painted piece by piece.
        const QPixmap full = QPixmap::fromImage(Pictures::painted({200, 100}, [](int x, int y) {
            return x % 7 < 3 || y % 5 < 2 ? qRgb(0, 0, 0) : qRgb(40 + x, 255 - x, 2 * y);
        }));
        for (const int width : {77, 130, 200, 322, 760}) {
            for (const bool smooth : {false, true}) {
                const QSize size(width, width / 2);
                const DisplayedImage view =
                    smooth ? smoothImage(full, size, QSize(10, 10)) : DisplayedImage{size};
                const auto painted = [&](QSize piece, Qt::GlobalColor background) {
                    QImage image(size, QImage::Format_RGB32);
                    image.fill(background);
                    QPainter painter(&image);
                    for (int x = 0; x < width; x += piece.width()) {
                        for (int y = 0; y < size.height(); y += piece.height()) {
                            painter.setClipRect(QRect(QPoint(x, y), piece));
                            paintImage(painter, full, view, QRect(QPoint(x, y), piece));
                        }
                    }
                    return image;
                };
                const QImage whole = painted(size, Qt::white);
                const QImage pieces = painted(QSize(19, 23), Qt::red);
                // Parts may round differently, to a neighbour where they are not smooth, but not shift.
                const auto fits = [&](int x, int y, int far) {
                    bool found = false;
                    const QRect around = QRect(x - far, y - far, 2 * far + 1, 2 * far + 1) & whole.rect();
                    for (int i = around.left(); i <= around.right(); ++i)
                        for (int j = around.top(); j <= around.bottom(); ++j)
                            found |= std::abs(qGreen(whole.pixel(i, j)) - qGreen(pieces.pixel(x, y))) <= 12;
                    return found;
                };
                int rounded = 0;
                for (int x = 0; x < width; ++x) {
                    for (int y = 0; y < size.height(); ++y) {
                        QVERIFY(fits(x, y, smooth ? 0 : 1));
                        rounded += !fits(x, y, 0);
                    }
                }
                QVERIFY(rounded * 5 < width * size.height());
            }
        }
    }

    void hugeViewPaintsWhatIsVisible()
    {
        const QSize size(60000, 40000); // never to be rendered as a whole
        const QPixmap full = QPixmap::fromImage(Pictures::quarters(QSize(600, 400)));
        QScrollArea area;
        area.resize(500, 400);
        auto *const label = new TImageLabel;
        area.setWidget(label);
        label->setFixedSize(size);
        area.show();
        for (const bool smooth : {false, true}) {
            label->showImage(full, smooth ? smoothImage(full, size, area.size()) : DisplayedImage{size});
            for (int i = 0; i < 4; ++i) {
                area.ensureVisible(i % 2 * 59000 + 250, i / 2 * 39000 + 200, 250, 200);
                QCOMPARE(area.viewport()->grab().toImage().pixelColor(200, 200),
                         Pictures::quarterColours()[i]);
            }
        }
    }

    void wheelAndFingersMakeSteps()
    {
        TImageLabel label;
        label.resize(100, 100);
        QSignalSpy steps(&label, &TImageLabel::needToResizeImage);
        for (const QPoint turn : QList<QPoint>{{0, 120}, {0, 960}, {0, -120}, {0, 4}, {120, 0}})
            QVERIFY(turnWheel(&label, turn)); // or the scroll area would scroll as well
        QCOMPARE(steps, QSignalSpy::QList({{1}, {1}, {-1}}));
        // What is finer than a notch adds up, one way at a time.
        steps.clear();
        for (const int turn : {-60, 50, 69, 1, 119, 2, -119})
            turnWheel(&label, {0, turn});
        QCOMPARE(steps, QSignalSpy::QList({{1}, {1}}));
        // Fingers go apart by a third, in small parts, and back together.
        steps.clear();
        const auto *const touchpad = QPointingDevice::primaryPointingDevice();
        for (const qreal part : {0.04, -0.04}) {
            for (int i = 0; i < 8; ++i) {
                QNativeGestureEvent event(Qt::ZoomNativeGesture, touchpad, 2, {}, {}, {}, part, {});
                QApplication::sendEvent(&label, &event);
            }
        }
        QCOMPARE(steps, QSignalSpy::QList({{1}, {1}, {1}, {-1}, {-1}, {-1}}));
    }

    void wheelMovesTheListAndTheStrip()
    {
        QStandardItemModel model;
        for (int i = 0; i < 60; ++i)
            model.appendRow(newItem("name.jpg", true));
        TListView list;
        list.setViewMode(QListView::IconMode);
        list.setIconSize(QSize(128, 128));
        list.setSpacing(10);
        list.setModel(&model);
        list.resize(400, 300);
        list.show();
        const QScrollBar *const bar = list.verticalScrollBar();
        QTRY_VERIFY(bar->maximum() > 1000);
        const int row = list.visualRect(model.index(0, 0)).height() + list.spacing();
        QSignalSpy zooms(&list, &TListView::zoomRequested);
        turnWheel(&list, {0, -120});
        QTRY_COMPARE(bar->value(), qRound(row / 3.0));
        for (int i = 0; i < 8; ++i)
            turnWheel(&list, {0, -15}); // at once
        QCOMPARE(bar->value(), qRound(row * 2 / 3.0));
        turnWheel(&list, {0, -480});
        turnWheel(&list, {0, 120}); // while that goes on
        QTRY_COMPARE(bar->value(), qRound(row * 5 / 3.0));
        for (const int turn : {120, -40, -80})
            turnWheel(&list, {0, turn}, Qt::ControlModifier);
        QCOMPARE(zooms, QSignalSpy::QList({{1}, {-1}}));
        turnWheel(&list, {0, -1200});
        list.setCurrentIndex(model.index(0, 0)); // wins over the wheel
        QTest::keyClick(&list, Qt::Key_End);
        QTRY_COMPARE(bar->value(), bar->maximum());

        QStandardItemModel columns(1, 50);
        TTableView strip;
        strip.setModel(&columns);
        strip.show();
        turnWheel(&strip, {0, -120});
        QVERIFY(strip.horizontalScrollBar()->value() > 0);
    }

    void stripKeepsItsPlace()
    {
        QStandardItemModel model(1, 50);
        TTableView strip;
        strip.setModel(&model);
        strip.show();
        strip.selectColumn(2);
        for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Home, Qt::Key_A})
            QTest::keyClick(&strip, key);
        // Its row is taken out, lengthened and put back, as each batch of a walk does.
        strip.horizontalScrollBar()->setValue(3);
        strip.keepInPlace([&] {
            QList<QStandardItem *> row = model.takeRow(0);
            row.append(new QStandardItem);
            model.insertRow(0, row);
        });
        QCOMPARE(strip.selectionModel()->selectedColumns().value(0).column(), 2);
        QCOMPARE(strip.horizontalScrollBar()->value(), 3);
    }
};

QTEST_MAIN(WidgetsTest)
#include "WidgetsTest.moc"
