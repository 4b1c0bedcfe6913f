#include "shell/KeysDialog.h"

#include "shell/Keys.h"

#include <QCoreApplication>
#include <QScreen>
#include <QTreeWidget>
#include <QVBoxLayout>

KeysDialog::KeysDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("KeysDialog"));
    setWindowTitle(tr("Keys"));
    auto *const list = new QTreeWidget(this);
    list->setObjectName(QStringLiteral("keysList"));
    list->setAccessibleName(tr("Keys"));
    list->setAccessibleDescription(tr("The keys of the program, and what each of them does"));
    list->setHeaderLabels({tr("Key"), tr("What it does")});
    QTreeWidgetItem *group = nullptr;
    for (const Keys::Key &key : Keys::all()) {
        if (!group || group->text(0) != Keys::title(key.place)) {
            group = new QTreeWidgetItem(list, {Keys::title(key.place)});
            group->setFirstColumnSpanned(true);
        }
        new QTreeWidgetItem(group, {Keys::text(key), QCoreApplication::translate("Keys", key.does)});
    }
    list->expandAll();
    list->setCurrentItem(list->topLevelItem(0));
    for (const int column : {0, 1})
        list->resizeColumnToContents(column);
    (new QVBoxLayout(this))->addWidget(list);
    // All columns are to be seen, and as much of the list as a small screen has room for.
    resize(QSize(list->columnWidth(0) + list->columnWidth(1) + 6 * fontMetrics().height(),
                 36 * fontMetrics().height())
               .boundedTo(screen()->availableSize()));
}
