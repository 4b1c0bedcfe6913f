#include "shared/image/ImageReading.h"
#include "shared/image/MemoryBudget.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "support/Reads.h"
#include "viewer/PictureLoader.h"

#include <atomic>
#include <chrono>
#include <future>

namespace {

QSemaphore readsToHang; ///< the next of them beyond this place, within a picture of several blocks
std::atomic<qint64> hangBeyond = 16000;
QSemaphore readsGoOn;
std::atomic_int readsGoneOn = 0;

} // namespace

/// Pictures that are decoded in parallel, by threads that the viewer starts and leaves.
class LoadImageThreadTest : public FolderTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        ImageReading::setAllocationLimit();
        beforeRead() = [](qint64 position, qint64) {
            if (position > hangBeyond && readsToHang.tryAcquire()) {
                readsGoOn.acquire();
                ++readsGoneOn;
            }
        };
    }
    void init()
    {
        newFolder();
        QImage slow(8000, 6000, QImage::Format_RGB32); // as against the others
        slow.fill(Qt::red);
        QVERIFY(slow.save(path("slow.png")));
        for (int i = 1; i < 20; ++i)
            Pictures::save(path(QString::number(i) + ".jpg"), QSize(i, 40));
    }

    void givesInOrderAndPassesOverTheNewestOfMany()
    {
        for (const int asked : {10, 12}) {
            VistamoLoadImageThread thread;
            QList<int> widths;
            connect(&thread, &VistamoLoadImageThread::imageLoaded, this,
                    [&](const QPixmap &pixmap) { widths.append(pixmap.width()); });
            thread.addFile({path("slow.png")});
            for (int i = 1; i < asked; ++i)
                thread.addFile({path(i == 5 ? "missing.jpg" : QString::number(i) + ".jpg")});
            thread.start();
            QTRY_COMPARE(widths.size(), 10);
            QCOMPARE(widths, QList({8000, 1, 2, 3, 4, 0, 6, 7, 8, asked - 1}));
            QVERIFY(thread.wait() && thread.takeWaiting().isEmpty());
        }
    }

    void whatWaitsBehindAPictureCanBeTaken()
    {
        MemoryBudget::setBytes(1);
        auto all = std::make_unique<const MemoryBudget::Share>(1);
        VistamoLoadImageThread thread;
        QSignalSpy given(&thread, &VistamoLoadImageThread::imageLoaded);
        for (const char *const name : {"1.jpg", "2.jpg", "3.jpg"})
            thread.addFile({path(name)});
        thread.start();
        // A helper takes the next one, where there are processors.
        QTRY_COMPARE(MemoryBudget::waiting(), std::min(QThread::idealThreadCount(), 3));
        QVERIFY(!thread.hangs());
        const QList<ImageRequest> waiting = thread.takeWaiting();
        QVERIFY(waiting.size() == 2 && waiting.last().path == path("3.jpg"));
        thread.stop();
        all.reset();
        QVERIFY(thread.wait());
        QCoreApplication::processEvents();
        QCOMPARE(given.size(), 0);
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
    }

    void neighbourThatHangsIsLeftBehind()
    {
        QList<ImageRequest> files;
        for (const int width : {0, 1, 2, 3, 4}) {
            const QFileInfo file(path(QString::number(width) + ".bmp"));
            Pictures::save(file.filePath(), QSize(width + 1, 5000));
            files.append({file.filePath(), file.size(), file.lastModified()});
        }
        const auto hang = [](const auto &request) {
            readsToHang.release();
            request();
            QTRY_COMPARE(readsToHang.available(), 0);
        };
        const auto giveUp = [](const auto &request) {
            const qint64 usual = std::exchange(VistamoLoadImageThread::deadAfterMs, 0);
            request();
            VistamoLoadImageThread::deadAfterMs = usual;
        };
        PictureLoader loader;
        QList<int> widths;
        connect(&loader, &PictureLoader::imageLoaded, this,
                [&](const QPixmap &pixmap) { widths.append(pixmap.width()); });
        loader.open();
        hang([&] { loader.prefetchNeighbours(files[1], {}, QPixmap(10, 10)); });
        hang([&] { loader.show(files[0]); });
        loader.show(files[1]);
        QVERIFY(!StoppableThread::someLeftBehind); // not yet
        giveUp([&] { loader.show(files[2]); });
        QTRY_COMPARE(widths, QList({2, 3}));

        Prefetch prefetch;
        hang([&] { prefetch.want({files[3]}, QPixmap(10, 10)); });
        giveUp([&] { prefetch.pause(); });
        prefetch.want({files[4]}, QPixmap(10, 10)); // by another thread
        QVERIFY(!prefetch.request(files[3]).prefetched && prefetch.request(files[4]).prefetched);
        readsGoOn.release(3);
        QTRY_COMPARE(readsGoneOn, 3);
        StoppableThread::someLeftBehind = false;
    }

    void fileThatHangsAsItIsOpenedHoldsUpNoOther()
    {
        const auto read = [this](const char *name) {
            return std::async(std::launch::async,
                              [=, file = path(name)] { return ImageReading::read(file).width(); });
        };
        hangBeyond = -1;
        readsToHang.release();
        auto hangs = read("1.jpg");
        QTRY_COMPARE(readsToHang.available(), 0);
        auto other = read("2.jpg");
        const auto state = other.wait_for(std::chrono::seconds(5));
        readsGoOn.release();
        QVERIFY(state == std::future_status::ready && other.get() == 2 && hangs.get() == 1);
        hangBeyond = 16000;
    }

    void pictureThatIsBeingDecodedIsWaitedFor()
    {
        const QFileInfo file(path("slow.png"));
        const ImageRequest slow = {file.filePath(), file.size(), file.lastModified()};
        Prefetch prefetch;
        prefetch.want({slow}, QPixmap(10, 10));
        const ImageRequest asked = prefetch.request(slow);
        QVERIFY(asked.prefetched);
        QCOMPARE(pictureOf(asked).width(), 8000);
        QVERIFY(!asked.prefetched->get([] { return QPixmap(); }).isNull()); // not decoded again
        ImageRequest changed = slow;
        ++changed.size;
        QVERIFY(!prefetch.request(changed).prefetched);
        prefetch.end(QDeadlineTimer::Forever);

        PictureLoader loader;
        QSignalSpy finished(&loader, &PictureLoader::loadImageFinished);
        loader.show(slow);
        const ImageRequest shown = loader.request();
        QCOMPARE(pictureOf(shown).width(), 8000);
        QVERIFY(QFile::remove(slow.path));
        QVERIFY(!pictureOf(shown).isNull()); // as for an export that comes late
        QVERIFY(finished.wait(patience) && !loader.request().shared);
    }
};

QTEST_MAIN(LoadImageThreadTest)
#include "LoadImageThreadTest.moc"
