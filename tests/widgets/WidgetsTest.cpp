#include "library/FileNames.h"
#include "library/ThumbnailDelegate.h"
#include "shared/dialogs/MessageBox.h"
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
            const auto *const box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            for (const QLabel *const label : box->findChildren<QLabel *>())
                shown += label->textFormat() != Qt::PlainText && Qt::mightBeRichText(label->text())
                             ? QTextDocumentFragment::fromHtml(label->text()).toPlainText()
                             : label->text();
            QApplication::activeModalWidget()->close();
        });
        QVERIFY(!MessageBox::confirm(name, name));
        QCOMPARE(shown, name + name);
    }

    void sizesAreThoseOfTheDefaultDelegate()
    {
        QApplication::setStyle("Fusion");
        const QString foreign = QString::fromUtf8("\u05e9\u05dc\u05d5\u05dd \u4e16\u754c \u00e9t\u00e9.jpg");
        QStringList names = {"", ".jpg", QString(30, 'W'), QString(251, 'i'), "line\nfeed.png", foreign};
        QRandomGenerator random(7);
        for (int i = 0; i < 300; ++i) {
            names.append(QString(random.bounded(1, 60), ' '));
            for (QChar &letter : names.last())
                letter = QChar(random.bounded(32, 127));
        }
        QStandardItemModel plain;
        QStandardItemModel ticked; // where there is no box, too, which is not to show
        for (const QString &name : names) {
            for (const bool checkable : {false, true}) {
                plain.appendRow(newItem(name, checkable));
                ticked.appendRow(newItem(name, checkable));
                ticked.item(ticked.rowCount() - 1)->setCheckState(Qt::Checked);
            }
        }
        QListView expected;
        QListView actual;
        expected.setModel(&plain);
        actual.setModel(&ticked);
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
            for (int row = 0; row < plain.rowCount(); ++row)
                QCOMPARE(actual.visualRect(ticked.index(row, 0)), expected.visualRect(plain.index(row, 0)));
        }
    }

    void labelShowsThePictureCentred()
    {
        const QPixmap full = QPixmap::fromImage(Pictures::quarters(QSize(60, 40)));
        TImageLabel label;
        label.resize(400, 300);
        const QColor background = label.palette().color(QPalette::Window);
        for (const QSize size : {QSize(120, 80), QSize(36, 24), QSize(300, 200)}) {
            for (const DisplayedImage &view : {DisplayedImage{size}, smoothImage(full, size, label.size())}) {
                label.showImage(full, view);
                const QImage shot = label.grab().toImage();
                const QRect place(QPoint((400 - size.width()) / 2, (300 - size.height()) / 2), size);
                // Nothing beside it, and its own colour up to the edge.
                QCOMPARE(shot.pixelColor(place.topLeft() - QPoint(1, 1)), background);
                QCOMPARE(shot.pixelColor(place.topLeft()), Pictures::quarterColours().first());
                QCOMPARE(shot.pixelColor(place.bottomRight()), Pictures::quarterColours().last());
                QCOMPARE(shot.pixelColor(place.bottomRight() + QPoint(1, 1)), background);
            }
        }
    }

    void dragOfACropRectangleLeavesNothingBehind()
    {
        QRandomGenerator random(7);
        const auto any = [&](int least, int most) { return random.bounded(least, most); };
        const auto overlay = [](const QRect &crop) {
            QImage image(90, 70, QImage::Format_RGB32);
            image.fill(Qt::green);
            QPainter painter(&image);
            paintCropOverlay(painter, image.rect(), crop);
            return image;
        };
        for (int i = 0; i < 200; ++i) {
            const QRect from(any(0, 90), any(0, 70), any(-60, 60), any(-60, 60)); // also turned over
            const QRect to = from.adjusted(any(-9, 9), any(-9, 9), any(-30, 30), any(-30, 30));
            QImage shown = overlay(from);
            const QImage wanted = overlay(to);
            QPainter painter(&shown);
            for (const QRect &part : changedByCrop(from, to))
                painter.drawImage(part, wanted, part);
            painter.end();
            QCOMPARE(shown, wanted);
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
        // A billion pixels and more: never to be rendered as a whole.
        const QSize size(60000, 40000);
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

    void wheelMakesStepsAndAnyButtonDrags()
    {
        TImageLabel label;
        label.resize(100, 100);
        QSignalSpy steps(&label, &TImageLabel::needToResizeImage);
        const QList<QPoint> turns = {{0, 120}, {0, 960}, {0, -120}, {0, 4}, {0, -4}, {0, 3}, {120, 0}};
        for (const QPoint turn : turns) { // half a degree counts, less does not
            QWheelEvent event(QPointF(5, 5), QPointF(5, 5), QPoint(), turn, Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(&label, &event);
            QVERIFY(event.isAccepted()); // or the scroll area would scroll as well
        }
        QCOMPARE(steps, QSignalSpy::QList({{1}, {1}, {-1}, {1}, {-1}}));
        QSignalSpy starts(&label, &TImageLabel::startDragImage);
        QSignalSpy ends(&label, &TImageLabel::endDragImage);
        for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton})
            QTest::mouseClick(&label, button);
        QCOMPARE(starts.size(), 3);
        QCOMPARE(ends.size(), 3);
    }

    void stripKeepsItsPlace()
    {
        QStandardItemModel model(1, 50);
        TTableView strip;
        strip.setModel(&model);
        strip.show();
        strip.selectColumn(2);
        for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Left, Qt::Key_Home, Qt::Key_A})
            QTest::keyClick(&strip, key);
        QCOMPARE(strip.currentIndex().column(), 2);
        QCOMPARE(strip.selectionModel()->selectedColumns().size(), 1);

        // Its row is taken out, lengthened and put back, as each batch of a walk does.
        strip.horizontalScrollBar()->setValue(3);
        strip.keepInPlace([&] {
            QList<QStandardItem *> row = model.takeRow(0);
            row.append(new QStandardItem);
            model.insertRow(0, row);
            QVERIFY(strip.selectionModel()->selectedColumns().isEmpty());
        });
        QCOMPARE(strip.selectionModel()->selectedColumns().value(0).column(), 2);
        QCOMPARE(strip.horizontalScrollBar()->value(), 3);
    }
};

QTEST_MAIN(WidgetsTest)
#include "WidgetsTest.moc"
