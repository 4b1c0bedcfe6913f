#include "Measuring.h"

#include "library/TListView.h"
#include "shared/dialogs/DialogSeam.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QStandardPaths>
#include <QTimer>

#include <filesystem>

namespace {

/// Makes a folder of as many hard links to photos of another, or of copies where its disk ends.
/// @param behind what stands behind their names there
void fill(const QString &folder, const QStringList &photos, const QString &from, const QString &behind = {})
{
    QDir().mkpath(folder);
    for (const QString &name : photos) {
        const QString source = from + '/' + name;
        const QString target = folder + '/' + name + behind;
        std::error_code failure;
        std::filesystem::create_hard_link(source.toStdU16String(), target.toStdU16String(), failure);
        if (failure && !QFile::copy(source, target))
            qFatal("A photo could not be put into its place.");
    }
}

/// Milliseconds of the system calls alone: each file is renamed, and then both folders are flushed as
/// a move does, or before that something is noted as the trash does.
double plainLoop(const QStringList &photos, const QString &from, const QString &to, bool isTrash)
{
    QDir().mkpath(to);
    QDir().mkpath(to + " info");
    QElapsedTimer time;
    time.start();
    for (const QString &name : photos) {
        if (isTrash) {
            QFile info(to + " info/" + name);
            if (!info.open(QIODevice::WriteOnly | QIODevice::NewOnly)
                || info.write(QByteArray(100, ' ')) != 100)
                qFatal("Nothing can be noted.");
        }
        std::filesystem::rename((from + '/' + name).toStdU16String(), (to + '/' + name).toStdU16String());
        if (!isTrash) {
            Platform::flushFolder(to);
            Platform::flushFolder(from);
        }
    }
    return milliseconds(time);
}

/// Shows a folder of photos of which every one, every second and so on is ticked.
void showTicked(const Program &program, const QString &folder, qsizetype count, int step)
{
    const auto &records = VistamoGlobal::fileDataList;
    QElapsedTimer time;
    time.start();
    program.call("on_showCheckboxButton_clicked");
    program.showFolder(folder);
    waitFor(time, [&] {
        return records.size() == count && records.first().path == folder && program.allIconsAreThere();
    });
    runFor(2500); // what the making of the folder has set off has ended
    if (step == 1)
        program.call("tickAll");
    for (int row = 0; step > 1 && row < count; row += step) {
        const QModelIndex index = program.list.model()->index(row, 0);
        program.list.model()->setData(index, Qt::Checked, Qt::CheckStateRole);
        emit program.list.clicked(index);
    }
    if (VistamoGlobal::checkedItemList.size() != count / step)
        qFatal("A file is not ticked.");
}

/// Milliseconds from the press of the dialog's button until the files have left the list.
double deleteTicked(const Program &program, const QString &what)
{
    QElapsedTimer time;
    time.start();
    double opened = 0;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, qApp, [&] {
        const auto *const dialog = QApplication::activeModalWidget();
        auto *const button = dialog ? dialog->findChild<QPushButton *>("applyButton") : nullptr;
        if (!button)
            return;
        looking.stop();
        opened = milliseconds(time);
        time.restart();
        button->click();
    });
    looking.start(3);
    program.call("on_deleteButton_clicked");
    print(what + ": the dialog opens", opened, "ms");
    return milliseconds(time);
}

double moveTicked(const Program &program, const QString &target)
{
    QDir().mkpath(target);
    DialogSeam::setAnswerer([&](const DialogSeam::Question &question) -> std::optional<QVariant> {
        return question.kind == DialogSeam::Kind::SelectFolder ? QVariant(target) : QVariant(true);
    });
    QElapsedTimer time;
    time.start();
    program.call("onMovetoAction");
    DialogSeam::setAnswerer({});
    return milliseconds(time);
}

} // namespace

void measureLeaving(const Program &program, const QString &folder)
{
    // On the disk of the trash.
    const QString work = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/leaving";
    const QStringList all = QDir(folder).entryList(QDir::Files, QDir::Name);
    for (const auto &[count, step] :
         {std::pair(all.size() / 10, 1), std::pair(all.size(), 1), std::pair(all.size(), 2)}) {
        const QStringList photos = all.first(count);
        for (const bool isTrash : {true, false}) {
            const QString what = QStringLiteral("%1 %2 %3")
                                     .arg(count)
                                     .arg(step == 1 ? "ticked files" : "ticked among as many others")
                                     .arg(isTrash ? "deleted" : "moved");
            QDir(work).removeRecursively();
            fill(work + "/plain", photos, folder);
            const double plain = plainLoop(photos, work + "/plain", work + "/plain, gone", isTrash);
            const QString from = QStringLiteral("%1/%2").arg(work).arg(count);
            fill(from, photos, folder);
            const qsizetype staying = step == 1 ? 0 : count;
            if (staying > 0)
                fill(from, photos, folder, " that stays.jpg");
            showTicked(program, from, count + staying, step);
            const AnswerWatch watch;
            const qint64 used = Platform::processorTime();
            const double time = isTrash ? deleteTicked(program, what) : moveTicked(program, work + "/target");
            print(what + ": a file", time / static_cast<double>(count), "ms");
            print(what + ": a file, the system calls alone", plain / static_cast<double>(count), "ms");
            print(what + ": times the system calls", time / plain, "");
            print(what + ": processor time a file",
                  static_cast<double>(Platform::processorTime() - used) / static_cast<double>(count), "ms");
            runFor(1500); // the folder is looked at again
            print(what + ": longest wait for the GUI thread", watch.longestMs(), "ms");
            if (VistamoGlobal::fileDataList.size() != staying || !VistamoGlobal::checkedItemList.isEmpty()
                || QDir(from).count() != staying + 2)
                qFatal("Of the files %d have stayed in the list, %d among the ticks, %d on the disk.",
                       int(VistamoGlobal::fileDataList.size()), int(VistamoGlobal::checkedItemList.size()),
                       int(QDir(from).count()) - 2);
        }
    }
    QDir(work).removeRecursively();
}
