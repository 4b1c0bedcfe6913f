#include "Measuring.h"

#include "library/ThumbnailIcons.h"
#include "library/TListView.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"
#include "viewer/TImageLabel.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QSemaphore>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <memory>

void print(const QString &what, double value, const QString &unit)
{
    static QTextStream out(stdout);
    out << QStringLiteral("| %1 | %2 %3 |").arg(what, -52).arg(value, 10, 'f', 2).arg(unit) << Qt::endl;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double milliseconds(const QElapsedTimer &time)
{
    return time.nsecsElapsed() / 1e6;
}

double statusMegabytes(const QByteArray &key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith(key + ':'))
                return line.mid(key.size() + 1).trimmed().split(' ').first().toDouble() / 1024;
        }
    }
    return 0;
}

void resetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

double waitFor(const QElapsedTimer &time, const std::function<bool()> &done)
{
    QEventLoop loop;
    QTimer looking;
    QObject::connect(&looking, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    looking.start(3);
    if (!done())
        loop.exec();
    return milliseconds(time);
}

void runFor(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

AnswerWatch::AnswerWatch()
    : asking([this] { ask(); })
{
}

AnswerWatch::~AnswerWatch()
{
    stopped = true;
    asking.join();
}

void AnswerWatch::ask()
{
    while (!stopped) {
        QElapsedTimer asked;
        asked.start();
        const auto answered = std::make_shared<QSemaphore>();
        QMetaObject::invokeMethod(
            qApp, [=] { answered->release(); }, Qt::QueuedConnection);
        while (!answered->tryAcquire(1, 100) && !stopped) {
        }
        longest = std::max<qint64>(longest, asked.nsecsElapsed());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

Program::Program(MainWindow &window)
    : window(window)
    , form(*window.findChild<QObject *>("ThumbsForm"))
    , list(*window.findChild<TListView *>("mainListView"))
    , label(*window.findChild<TImageLabel *>("imageLabel"))
    , icons(*window.findChild<ThumbnailIcons *>())
{
}

void Program::call(const char *slot) const
{
    QMetaObject::invokeMethod(&form, slot);
}

void Program::showFolder(const QString &folder) const
{
    QMetaObject::invokeMethod(&form, "onAddFolder", Q_ARG(QString, folder));
}

QModelIndex Program::findInList(const QString &path) const
{
    const QFileInfo info(path);
    showFolder(info.path());
    QElapsedTimer time;
    time.start();
    waitFor(time, [&] { return allIconsAreThere(); });
    const auto &records = VistamoGlobal::fileDataList;
    const auto record = std::find_if(records.cbegin(), records.cend(),
                                     [&](const TFileRecord &r) { return r.fileName == info.fileName(); });
    return list.model()->index(static_cast<int>(record - records.cbegin()), 0);
}

void Program::paintScreen() const
{
    QElapsedTimer time;
    time.start();
    list.viewport()->repaint();
    waitFor(time, [&] { return !icons.isMaking(); });
    list.viewport()->repaint();
}

double Program::openInViewer(const QModelIndex &index) const
{
    auto *const sizeLabel = window.findChild<QLabel *>("sizeInfoLabel");
    sizeLabel->clear();
    QElapsedTimer time;
    time.start();
    emit list.doubleClicked(index);
    return waitFor(time, [&] { return !sizeLabel->text().isEmpty(); });
}

bool Program::allIconsAreThere() const
{
    const auto &records = VistamoGlobal::fileDataList;
    return !records.isEmpty() && !VistamoGlobal::vistamoLoadFolderThreadStat
           && std::none_of(records.cbegin(), records.cend(),
                           [](const TFileRecord &record) { return record.imageRect.isNull(); });
}
