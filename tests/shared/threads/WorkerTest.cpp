#include "shared/threads/Worker.h"

#include <QtTest>

namespace {

/// Says one thing when it is let go, then ends; with `hangs` it waits for `freed` whatever it is told.
class Sayer : public StoppableThread
{
    Q_OBJECT

public:
    explicit Sayer(int number, bool hangs = false)
        : number(number)
        , hangs(hangs)
    {
    }
    ~Sayer() override { ++gone; }

    const int number;
    const bool hangs;
    QSemaphore letGo;
    static inline QSemaphore freed = QSemaphore(0);
    static inline std::atomic_int gone = 0;

signals:
    void said(int number);

protected:
    void run() override
    {
        while (!letGo.tryAcquire(1, 5) && !stopRequested) {
        }
        emit said(number);
        if (hangs)
            freed.acquire();
    }
};

} // namespace

/// The life of a worker's thread, from its start to the four ways to part with it.
class WorkerTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        heard.clear();
        Sayer::gone = 0;
        StoppableThread::someLeftBehind = false;
    }

    void endHandsOverToTheNext()
    {
        start(1);
        worker.start(QThread::InheritPriority, [this](Sayer &ended) {
            heard.append(-ended.number);
            QVERIFY(!worker.isActive());
            start(2);
            worker->letGo.release();
        });
        worker->letGo.release();
        QTRY_COMPARE(heard, QList({1, -1, 2}));
        QTRY_VERIFY(!worker.isActive());
        QCOMPARE(Sayer::gone, 2);
    }

    void nothingArrivesAfterParting()
    {
        std::unique_ptr<Sayer> taken;
        const std::pair<std::function<void()>, int> ways[] = {
            {[&] { worker.end(QDeadlineTimer::Forever); }, 1},
            {[&] { worker.release(); }, 1},
            {[&] { taken = worker.part(); }, 1},
            {[&] { start(2); }, 2}};
        for (const auto &[part, threads] : ways) {
            init();
            start(1);
            worker->letGo.release();
            QVERIFY(worker->wait(5000)); // what it said is on its way, and so is its end
            part();
            QCOMPARE(worker.isActive(), threads == 2);
            QCoreApplication::processEvents();
            QCOMPARE(heard, QList<int>());
            worker.end(QDeadlineTimer::Forever);
            taken.reset();
            QCOMPARE(Sayer::gone, threads);
            QVERIFY(!StoppableThread::someLeftBehind);
        }
    }

    void oneThatHangsIsLeftBehind()
    {
        for (const bool atTheEnd : {false, true}) {
            start(1, true);
            worker.stop();
            QVERIFY(worker.isStopping());
            QTRY_COMPARE(heard, QList({1}));
            if (atTheEnd)
                worker.end(QDeadlineTimer(10));
            else
                worker.leaveBehind();
            QVERIFY(StoppableThread::someLeftBehind && !worker.isActive());
            QCOMPARE(Sayer::gone, 0);
            Sayer::freed.release();
            QTRY_COMPARE(Sayer::gone, 1); // it frees itself
            init();
        }
        // A released one is waited for at the end of the program.
        start(1, true);
        worker.release();
        QVERIFY(!StoppableThread::someLeftBehind);
        StoppableThread::endReleased(QDeadlineTimer(10));
        QVERIFY(StoppableThread::someLeftBehind);
        Sayer::freed.release();
        QTRY_COMPARE(Sayer::gone, 1);
    }

private:
    void start(int number, bool hangs = false)
    {
        worker.set(std::make_unique<Sayer>(number, hangs));
        worker.on(&Sayer::said, [this](int said) { heard.append(said); });
        worker.start(QThread::InheritPriority);
    }

    QList<int> heard;
    Worker<Sayer> worker;
};

QTEST_MAIN(WorkerTest)
#include "WorkerTest.moc"
