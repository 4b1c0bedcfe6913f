#include "Measuring.h"

#include "batch/BatchListModel.h"
#include "batch/BatchOptions.h"
#include "batch/ImagesToPDFConvertThread.h"
#include "batch/ImagesToPDFForm.h"
#include "library/ThumbnailDatabase.h"
#include "shared/image/ColourToneMapping.h"
#include "shared/image/ImageReading.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"

#include <QDir>
#include <QImageReader>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>

#include <atomic>
#include <functional>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// One run of the batch tools over all photos of a folder.
/// @param prepare is given the run's thread and the folder for what it makes
void measureRun(const QString &folder, const QString &output,
                const std::function<void(ImagesToPDFConvertThread &, const QString &)> &prepare)
{
    const QTemporaryDir temporary;
    VistamoGlobal::outputFolder = output.isEmpty() ? temporary.path() : QFileInfo(output).absoluteFilePath();
    VistamoGlobal::pdfFileName = "all.pdf";
    ImagesToPDFConvertThread thread;
    for (const QFileInfo &file : QDir(folder).entryInfoList(QDir::Files, QDir::Name))
        thread.sourceFiles.append(file.filePath());
    prepare(thread, VistamoGlobal::outputFolder);
    thread.options = BatchOptions::current();
    qsizetype started = 0;
    QObject::connect(
        &thread, &ImagesToPDFConvertThread::updateFileName, &thread,
        [&] {
            if (++started == thread.sourceFiles.size() / 10)
                print("peak memory after a tenth", statusMegabytes("VmHWM"), "MB");
        },
        Qt::DirectConnection);
    QElapsedTimer time;
    time.start();
    thread.start();
    thread.wait();
    print("files", static_cast<double>(thread.sourceFiles.size()), "");
    print("time", time.elapsed() / 1e3, "s");
    print("processor time from the start", static_cast<double>(Platform::processorTime()), "ms");
    print("peak memory", statusMegabytes("VmHWM"), "MB");
}

} // namespace

void measureConversion(const QString &folder, const QString &extension, int quality, const QString &output)
{
    VistamoGlobal::targeFileQuality = quality;
    measureRun(folder, output, [&](ImagesToPDFConvertThread &thread, const QString &target) {
        thread.isConvertMode = true;
        thread.overwrite = true;
        thread.targetPath = target;
        thread.targetExtension = extension;
    });
}

void measurePdf(const QString &folder, int resolution, const QString &output)
{
    for (int row = 0; row < 6; ++row)
        if (getResolution(row) == resolution)
            VistamoGlobal::pdfQuality = row;
    VistamoGlobal::pageOrientation = 1;
    measureRun(folder, output, [](ImagesToPDFConvertThread &thread, const QString &target) {
        thread.targetPath = target + "/all.pdf";
    });
}

namespace {

const QDateTime birthTime = QDateTime::fromSecsSinceEpoch(1'700'000'000);

TThumbnailRecord keyOfRow(int row)
{
    TThumbnailRecord key;
    key.fullPath =
        QStringLiteral("/home/somebody/Pictures/Summer/IMG_%1.JPG").arg(row, 7, 10, QLatin1Char('0'));
    key.size = 4'000'000 + row;
    key.creationTime = birthTime;
    return key;
}

/// Adds the rows `from` to `to` - 1, of a thousand bytes each.
void addRows(const QString &fileName, int from, int to)
{
    {
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "bench");
        db.setDatabaseName(fileName);
        if (!ThumbnailDatabase::open(db, 1000))
            qFatal("The database cannot be opened.");
        db.transaction();
        QSqlQuery query(db);
        query.prepare(
            "WITH RECURSIVE rows(i) AS (SELECT :first UNION ALL SELECT i + 1 FROM rows WHERE i + 1 < :end) "
            "INSERT INTO "
            + VistamoGlobal::thumbnailTableName
            + " (fullPath, resolution, size, creationTime, image, date) "
              "SELECT printf('/home/somebody/Pictures/Summer/IMG_%07d.JPG', i), '4032x3024', 4000000 + i, "
              ":birth, randomblob(1000), 202611 FROM rows");
        query.bindValue(":first", from);
        query.bindValue(":end", to);
        query.bindValue(":birth", birthTime.toString(Qt::TextDate));
        query.exec();
        db.commit();
    }
    QSqlDatabase::removeDatabase("bench");
}

/// Microseconds of a lookup of one of `rows` rows, in no order: the median of some rounds.
double lookup(int rows)
{
    constexpr int lookups = 20000;
    QList<double> times;
    for (int round = 0; round < 7; ++round) {
        std::minstd_rand random(1);
        int hits = 0;
        QElapsedTimer time;
        time.start();
        for (int i = 0; i < lookups; ++i)
            hits += ThumbnailDatabase::find(keyOfRow(static_cast<int>(random() % rows))).has_value();
        times.append(milliseconds(time) * 1000 / lookups);
        if (hits != lookups)
            qFatal("The database does not find its rows.");
    }
    return median(times);
}

} // namespace

void measureLookups()
{
    const QTemporaryDir folder;
    const QString fileName = folder.filePath("thumbnail.db");
    ThumbnailDatabase::setFileName(fileName);
    static_cast<void>(ThumbnailDatabase::find(keyOfRow(0))); // makes the table
    addRows(fileName, 0, 1000);
    const double small = lookup(1000);
    addRows(fileName, 1000, 1'000'000);
    const double large = lookup(1'000'000);
    print("database lookup among 1,000 rows", small, "us");
    print("database lookup among 1,000,000 rows", large, "us");
    print("database lookup, 1,000,000 rows against 1,000", large / small, "");
}

void measureBatchList()
{
    constexpr int count = 20000;
    QList<BatchFile> files;
    for (int i = 0; i < count; ++i)
        files.append({keyOfRow(i), "4032x3024", {}});
    ImagesToPDFForm form;
    form.show();
    QMetaObject::invokeMethod(&form, "onFilesFound", Q_ARG(QList<BatchFile>, files));
    QMetaObject::invokeMethod(&form, "onAddUrlsFinish", Q_ARG(QString, files.last().key.fullPath));
    runFor(500);
    auto *const view = form.findChild<QTreeView *>("sourceTreeView");
    const auto *const model = view->model();
    // Presses the button with the rows `first` to `last` selected, or those of them that are even.
    const auto press = [&](const char *button, int first, int last, bool evenAlone) {
        QItemSelection selection;
        for (int row = first; evenAlone && row <= last; row += 2)
            selection.append(QItemSelectionRange(model->index(row, 0)));
        if (!evenAlone)
            selection.append(QItemSelectionRange(model->index(first, 0), model->index(last, 0)));
        view->clearSelection();
        view->selectionModel()->select(selection, QItemSelectionModel::Select);
        runFor(500);
        QElapsedTimer time;
        time.start();
        form.findChild<QToolButton *>(button)->click();
        QCoreApplication::processEvents();
        print(QStringLiteral("batch list of 20,000: %1, %2").arg(button, evenAlone ? "every second" : "all"),
              milliseconds(time), "ms");
    };
    press("upButton", 1, count - 1, false);
    press("downButton", 0, count - 2, true);
    press("removeButton", 0, count - 2, true);
    press("removeButton", 0, count / 2 - 1, false);
}

void measurePlainDecoding(const QString &folder)
{
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files);
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype i = next++; i < files.size(); i = next++) {
            QImageReader reader(files[i].filePath());
            reader.setAutoTransform(true);
            reader.setScaledSize(ImageReading::thumbnailSize(reader.size(), 256));
            if (VistamoGlobal().imageToByteArray(reader.read()).isEmpty())
                qFatal("A photo could not be read.");
        }
    };
    QElapsedTimer time;
    time.start();
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back(work);
    for (std::thread &thread : threads)
        thread.join();
    print("scaled decode and encoding alone, two threads", milliseconds(time), "ms");
}

void measureToneMapping()
{
    QImage noise(6000, 4000, QImage::Format_RGBX64);
    std::minstd_rand random(1);
    for (int y = 0; y < noise.height(); ++y) {
        auto *const line = reinterpret_cast<quint16 *>(noise.scanLine(y));
        for (int i = 0; i < 4 * noise.width(); ++i) // to some 2000 cd/m2 in PQ
            line[i] = static_cast<quint16>(random() % 45000 + 8 * i % 9000);
    }
    for (const auto &[name, transfer] : {std::pair("PQ", 16), {"HLG", 18}}) {
        QList<double> times;
        QList<double> ofProcessors;
        for (int round = 0; round < 7; ++round) {
            QImage image = noise.copy();
            const qint64 used = Platform::processorTime();
            QElapsedTimer time;
            time.start();
            image = Colour::toneMapped(std::move(image), {9, transfer});
            times.append(milliseconds(time));
            ofProcessors.append(static_cast<double>(Platform::processorTime() - used));
        }
        print(QStringLiteral("tone mapping of 24 megapixels in ") + name, median(times), "ms");
        print(QStringLiteral("the same, processor time of ") + name, median(ofProcessors), "ms");
    }
}
