#pragma once

#include "library/FileNames.h"
#include "shared/dialogs/DialogSeam.h"
#include "shared/Settings.h"
#include "shared/threads/StoppableThread.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"
#include "support/Files.h"
#include "support/Pictures.h"

#include <QtTest>
#include <QtWidgets>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>

/// The `main` of a test of the program, which looks the same everywhere, and ends as the program does: not
/// around a thread that was left behind.
#define PROGRAM_TEST_MAIN(Test)                                                                              \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        QCoreApplication::setAttribute(Qt::AA_Use96Dpi);                                                     \
        QApplication application(argc, argv);                                                                \
        QApplication::setStyle("Fusion");                                                                    \
        Test test;                                                                                           \
        const int code = QTest::qExec(&test, argc, argv);                                                    \
        if (StoppableThread::someLeftBehind)                                                                 \
            std::_Exit(code);                                                                                \
        return code;                                                                                         \
    }

/// The real window of the program with its widgets by name, for as long as one test runs.
class Program
{
public:
    Program()
        : window(std::make_unique<MainWindow>())
    {
        window->show();
        // A queued call comes when control has returned to the event loop.
        const auto check = [this] { QVERIFY(rowsAreInStep()); };
        for (const auto change : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
            QObject::connect(list()->model(), change, window.get(), check, Qt::QueuedConnection);
    }

    /// A widget by its name, of the whole window or of a part of it.
    template <typename Widget = QWidget>
    Widget *find(const QString &name, const QWidget *part = nullptr) const
    {
        auto *const widget = (part ? part : window.get())->findChild<Widget *>(name);
        if (!widget)
            qFatal("no widget %s", qPrintable(name));
        return widget;
    }

    void click(const QString &button) const { QTest::mouseClick(find(button), Qt::LeftButton); }
    /// Calls a slot of the form.
    template <typename... Arguments>
    void call(const char *slot, Arguments... arguments) const
    {
        QVERIFY2(QMetaObject::invokeMethod(find("ThumbsForm"), slot, arguments...), slot);
    }
    QListView *list() const { return find<QListView>("mainListView"); }
    QTableView *strip() const { return find<QTableView>("galleryTableView"); }
    int rows() const { return list()->model()->rowCount(); }
    /// Makes a file of the list the current one.
    void choose(int row) const { list()->setCurrentIndex(index(row)); }
    QModelIndex index(int row) const { return list()->model()->index(row, 0); }
    int rowOf(const QString &name) const { return static_cast<int>(fileNames().indexOf(name)); }
    QStringList fileNames() const
    {
        QStringList names;
        for (const TFileRecord &record : VistamoGlobal::fileDataList)
            names.append(record.fileName);
        return names;
    }

    QString text(const char *label) const { return find<QLabel>(label)->text(); }
    /// The names in a view, without their suffixes, top first.
    static QStringList namesIn(const QAbstractItemView *view)
    {
        QStringList names;
        for (int row = 0; row < view->model()->rowCount(); ++row)
            names.append(view->model()->index(row, 0).data().toString().section('.', 0, 0));
        return names;
    }
    QStringList tree() const { return namesIn(find<QAbstractItemView>("sideTreeView")); }
    /// Opens the viewer on the file in a row of the list.
    void open(int row) const { emit list()->doubleClicked(index(row)); }
    void open(const QString &name) const { open(rowOf(name)); }
    /// True if the viewer is on a file of this name.
    bool isOn(const QString &name) const
    {
        return window->windowTitle().endsWith(QDir::toNativeSeparators(name));
    }
    /// As if a file of this folder had been dropped.
    void drop(const QString &folder, const QString &file) const
    {
        call("onAddFolder", Q_ARG(QString, folder), Q_ARG(QString, file));
    }
    /// As if the delete dialog had moved a file to the trash.
    void deleted(const QString &path) const
    {
        const QList<VistamoGlobal::TFileData> files = {{path, -1}};
        call("on_fileDeleted", Q_ARG(QList<VistamoGlobal::TFileData>, files));
    }
    /// Clicks on a folder of the list.
    void openFolder(int row) const
    {
        auto *const view = find<QAbstractItemView>("sideTreeView");
        view->setCurrentIndex(view->model()->index(row, 0));
        emit view->clicked(view->currentIndex());
    }
    /// Clicks on the check box of a file on show.
    void tick(const QString &name, Qt::CheckState state = Qt::Checked) const
    {
        const QModelIndex file = index(rowOf(name));
        QVERIFY2(list()->model()->setData(file, state, Qt::CheckStateRole), qPrintable(name));
        emit list()->clicked(file);
    }
    /// The files on show whose box is ticked.
    QStringList ticks() const
    {
        QStringList names = fileNames();
        for (int row = rows() - 1; row >= 0; --row)
            if (index(row).data(Qt::CheckStateRole) != Qt::Checked)
                names.removeAt(row);
        names.sort();
        return names;
    }

    /// View / picture.
    double scale() const { return text("percentResizeLabel").chopped(1).toDouble() / 100; }
    /// Where the viewer's label has a picture of this size.
    QRect place(QSize picture) const
    {
        QRect rect(QPoint(), (QSizeF(picture) * scale()).toSize());
        rect.moveCenter(find("imageLabel")->rect().center());
        return rect;
    }
    /// The quarters of that picture as it is on show.
    QString shown(QSize picture) const
    {
        return Pictures::quartersOf(find("imageLabel")->grab().toImage().copy(place(picture)));
    }
    QRect crop() const
    {
        const auto value = [&](const char *name) { return find<QSpinBox>(name)->value(); };
        return {value("leftSpinBox"), value("topSpinBox"), value("widthSpinBox"), value("heightSpinBox")};
    }

    /// True once the walk is over, also if it had to wait for another, and every row has had its answer.
    bool settled() const
    {
        const auto &records = VistamoGlobal::fileDataList;
        const QString status = text("pathValueLabel");
        return !VistamoGlobal::vistamoLoadFolderThreadStat && rowsAreInStep()
               && (status.isEmpty() || status.startsWith("Total: "))
               && std::all_of(records.cbegin(), records.cend(),
                              [](auto &record) { return record.imageRect != QRect(); });
    }
    /// True if an entry and its row are one file, and so is their column unless rows have been taken out.
    bool rowsAreInStep() const
    {
        const auto *const columns = strip()->model();
        const QStringList names = fileNames();
        bool inStep = rows() == names.size();
        for (int row = 0; inStep && row < rows(); ++row) {
            const QVariant text = index(row).data();
            inStep = text == wrapFileName(names[row])
                     && (columns->columnCount() != rows() || columns->index(0, row).data() == text);
        }
        return inStep;
    }
    /// Settings as an earlier run left them: these folders, top first, and the place of the window.
    static void setFolders(const QStringList &folders, const QRect &geometry = QRect())
    {
        QSettings settings = programSettings();
        settings.clear();
        settings.beginGroup("General");
        settings.setValue("posX", geometry.x());
        settings.setValue("posY", geometry.y());
        settings.setValue("width", geometry.width());
        settings.setValue("height", geometry.height());
        settings.setValue("folderListCount", folders.size());
        for (qsizetype i = 0; i < folders.size(); ++i)
            settings.setValue(QStringLiteral("folderList%1").arg(i),
                              QDir::toNativeSeparators(folders[folders.size() - 1 - i]));
    }

    std::unique_ptr<MainWindow> window;
};

/// A test of the whole program on a folder of its own.
class ProgramTest : public FolderTest
{
protected:
    /// Starts it and waits until the top folder, with so many pictures, is read.
    void start(const QStringList &folders, int rows, const QRect &geometry = QRect())
    {
        Program::setFolders(folders, geometry);
        program = std::make_unique<Program>();
        settle(rows);
    }
    /// Waits until so many pictures are read.
    void settle(int rows) { QTRY_VERIFY(program->settled() && program->rows() == rows); }
    void end()
    {
        for (const TCheckedItem &item : QList(VistamoGlobal::checkedItemList))
            if (program) // which its ticks outlive, but not the files
                program->deleted(item.path + '/' + item.fileName);
        program.reset();
        dialogsSeen = 0;
        DialogSeam::setAnswerer({});
    }
    /// Opens another folder of the list, with so many pictures.
    void show(int folder, int rows)
    {
        program->openFolder(folder);
        settle(rows);
    }
    /// Gives this folder to whoever asks for one; other questions are answered by `other`, if any.
    static void choosesFolder(const QString &folder, const std::optional<QVariant> &other = {})
    {
        DialogSeam::setAnswerer([=](const DialogSeam::Question &question) {
            return question.kind == DialogSeam::Kind::SelectFolder ? folder : other;
        });
    }
    /// Does something with the next menu or modal dialog.
    void whenDialog(const std::function<void(QWidget *)> &action)
    {
        QTimer::singleShot(10, this, [=, this] {
            QWidget *const popup = QApplication::activePopupWidget();
            QWidget *const dialog = popup ? popup : QApplication::activeModalWidget();
            if (!dialog)
                return whenDialog(action);
            ++dialogsSeen;
            action(dialog);
            if (dialog->isVisible())
                dialog->close(); // a failed check must not leave it open
        });
    }
    QString text(const char *label) const { return program->text(label); }

    int dialogsSeen = 0;
    std::unique_ptr<Program> program;
};
