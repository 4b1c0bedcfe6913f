#include "library/FileNames.h"
#include "library/ThumbnailDelegate.h"
#include "library/TTreeView.h"

#include <QtTest>
#include <QtWidgets>

namespace {

class Delegate : public ThumbnailDelegate
{
public:
    using ThumbnailDelegate::initStyleOption;
};

QStandardItem *newItem(const QString &name, bool checkable)
{
    QPixmap square(256, 256);
    square.fill(Qt::red);
    auto *const item = new QStandardItem(QIcon(square), wrapFileName(name));
    item->setCheckable(checkable);
    return item;
}

} // namespace

class LibraryWidgetsTest : public QObject
{
    Q_OBJECT

private slots:
    void sizesAreThoseOfTheDefaultDelegate()
    {
        QApplication::setStyle("Fusion");
        QStringList names = {"",
                             ".jpg",
                             QString(30, 'W') + ".jpeg",
                             QString(251, 'i') + ".jpg",
                             "line\nfeed.png",
                             QString::fromUtf8("\u05e9\u05dc\u05d5\u05dd \u4e16\u754c \u00e9t\u00e9.jpg")};
        QRandomGenerator random(7);
        for (int i = 0; i < 300; ++i) {
            QString name;
            for (int length = random.bounded(1, 60); length > 0; --length)
                name.append(QChar(random.bounded(32, 127)));
            names.append(name);
        }
        QStandardItemModel model;
        for (const QString &name : names) {
            for (const bool checkable : {false, true})
                model.appendRow(newItem(name, checkable));
        }
        QListView expected;
        QListView actual;
        ThumbnailDelegate delegate;
        actual.setItemDelegate(&delegate);
        // A change of the icons or of the font must not leave old sizes behind.
        for (const int size : {0, 128, 256, 512, 17}) {
            for (QListView *const view : {&expected, &actual}) {
                view->setModel(&model);
                view->setViewMode(QListView::IconMode);
                view->setSpacing(10);
                view->resize(900, 700);
                view->setIconSize(QSize(size, size));
                view->setFont(QFont(view->font().family(), size == 17 ? 17 : 10));
                view->show();
            }
            for (int row = 0; row < model.rowCount(); ++row) {
                const QModelIndex index = model.index(row, 0);
                QCOMPARE(actual.visualRect(index), expected.visualRect(index));
            }
        }
    }

    void tickOfAnUncheckableItemIsNotDrawn()
    {
        QStandardItemModel model;
        Delegate delegate;
        for (const bool checkable : {false, true}) {
            QStandardItem *const item = newItem("a.jpg", checkable);
            model.appendRow(item);
            item->setCheckState(Qt::Checked);
            QStyleOptionViewItem option;
            delegate.initStyleOption(&option, item->index());
            QCOMPARE(option.features.testFlag(QStyleOptionViewItem::HasCheckIndicator), checkable);
        }
    }

    void movedRow()
    {
        using enum TTreeView::DropPlace;
        QCOMPARE(TTreeView::movedRow(0, 2, OnItem, 5), 2);
        QCOMPARE(TTreeView::movedRow(0, 2, AboveItem, 5), 1);
        QCOMPARE(TTreeView::movedRow(0, 2, BelowItem, 5), 2);
        QCOMPARE(TTreeView::movedRow(3, 1, AboveItem, 5), 1);
        QCOMPARE(TTreeView::movedRow(3, 1, BelowItem, 5), 2);
        QCOMPARE(TTreeView::movedRow(1, -1, OnViewport, 5), 4);
    }
};

QTEST_MAIN(LibraryWidgetsTest)
#include "LibraryWidgetsTest.moc"
