#pragma once

#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"

#include <QCoreApplication>
#include <QLabel>
#include <QListView>
#include <QTest>

#include <algorithm>
#include <memory>

/// The real window of the program with its widgets by name, for as long as one test runs.
class Program
{
public:
    Program()
        : window(std::make_unique<MainWindow>())
    {
        window->show();
    }

    template <typename Widget = QWidget>
    Widget *find(const QString &name) const
    {
        auto *const widget = window->findChild<Widget *>(name);
        if (!widget)
            qFatal("no widget %s", qPrintable(name));
        return widget;
    }

    void click(const QString &button) const { QTest::mouseClick(find(button), Qt::LeftButton); }
    QListView *list() const { return find<QListView>("mainListView"); }
    int rows() const { return list()->model()->rowCount(); }
    QStringList fileNames() const
    {
        QStringList names;
        for (const TFileRecord &record : VistamoGlobal::fileDataList)
            names.append(record.fileName);
        return names;
    }

    QString text(const char *label) const { return find<QLabel>(label)->text(); }
    /// The names in the side tree, top first.
    QStringList tree() const
    {
        QStringList names;
        const QAbstractItemModel *const model = find<QAbstractItemView>("sideTreeView")->model();
        for (int row = 0; row < model->rowCount(); ++row)
            names.append(model->index(row, 0).data().toString());
        return names;
    }
    /// Opens the viewer on the file in a row of the list.
    void open(int row) const { emit list()->doubleClicked(list()->model()->index(row, 0)); }

    /// True once the walk is over and every row has had its answer.
    bool settled() const
    {
        const auto &records = VistamoGlobal::fileDataList;
        return !VistamoGlobal::vistamoLoadFolderThreadStat
               && std::all_of(records.cbegin(), records.cend(),
                              [](auto &record) { return record.imageRect != QRect(); });
    }

    /// Settings as an earlier run left them: these folders, top first.
    static void setFolders(const QStringList &folders)
    {
        QSettings settings = programSettings();
        settings.clear();
        settings.beginGroup("General");
        settings.setValue("folderListCount", folders.size());
        for (qsizetype i = 0; i < folders.size(); ++i)
            settings.setValue(QStringLiteral("folderList%1").arg(i), folders[folders.size() - 1 - i]);
    }

    std::unique_ptr<MainWindow> window;
};
