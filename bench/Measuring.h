#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QModelIndex>
#include <QString>

#include <atomic>
#include <functional>
#include <thread>

class MainWindow;
class TListView;
class TImageLabel;
class ThumbnailIcons;

/// Prints one figure: a row that `bench/run` reads.
void print(const QString &what, double value, const QString &unit);

double median(QList<double> values);

/// Milliseconds since `time` began, with their fractions.
double milliseconds(const QElapsedTimer &time);

/// A number of /proc/self/status in megabytes: "VmRSS" for the resident memory, "VmHWM" for its peak.
double statusMegabytes(const QByteArray &key);

/// Resets the peak of the resident memory.
void resetPeak();

/// Runs the event loop until `done`, which is looked at every few milliseconds; milliseconds since `time`
/// began.
double waitFor(const QElapsedTimer &time, const std::function<bool()> &done);

/// Runs the event loop for some milliseconds.
void runFor(int ms);

/// Asks the GUI thread every few milliseconds whether it answers, and keeps the longest wait.
class AnswerWatch
{
public:
    AnswerWatch();
    ~AnswerWatch();
    double longestMs() const { return longest / 1e6; }

private:
    void ask();

    std::atomic_bool stopped = false;
    std::atomic<qint64> longest = 0; ///< nanoseconds
    std::thread asking;
};

/// The program's window, and what the benchmarks take hold of in it.
struct Program
{
    explicit Program(MainWindow &window);

    MainWindow &window;
    QObject &form;
    TListView &list;
    TImageLabel &label;
    ThumbnailIcons &icons;

    /// Calls a slot of the form by its name.
    void call(const char *slot) const;

    /// Adds the folder to the list on the left and shows it.
    void showFolder(const QString &folder) const;

    /// Shows the folder of a picture, waits for its thumbnails, and gives the picture's place in the list.
    QModelIndex findInList(const QString &path) const;

    /// Paints the list, with all pictures that its screen has.
    void paintScreen() const;

    /// Opens a picture of the list in the viewer; milliseconds until it is there in full.
    double openInViewer(const QModelIndex &index) const;

    /// True once every row of the list has its icon and the walk of the folder has ended.
    bool allIconsAreThere() const;
};

// What is measured; each prints its rows.
void measureFolder(const Program &program, const QString &folder);
void measureFling(const Program &program, const QString &folder);
void measureGrowth(const Program &program, const QString &folder);
void measureLeaving(const Program &program, const QString &folder);
void measureChangeOfFolder(const Program &program, const QString &slowFolder, const QString &other);
void measureStart(const Program &program, qint64 startedMs);
void measureWindow(const Program &program, qint64 startedMs);
void measurePicture(const Program &program, const QString &path);
void measureSteps(const Program &program, const QString &folder);
void measureEdits(const Program &program, const QString &path);
void measureIdle(const Program &program, const QString &folder);
void measureConversion(const QString &folder, const QString &extension, int quality, const QString &output);
void measurePdf(const QString &folder, int resolution, const QString &output);
void measureLookups();
void measureBatchList();
void measureToneMapping();
void measurePlainDecoding(const QString &folder);
