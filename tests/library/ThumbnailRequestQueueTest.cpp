#include "library/ThumbnailRequestQueue.h"

#include <QtTest>

#include <cmath>

namespace {

/// The order of service told plainly, on one list.
struct PlainQueue
{
    QList<int> rows;
    float lastRatio = 0;
    int index = 0;
    int served = 0;

    int takeNext(float ratio, int fileCount)
    {
        if (lastRatio != ratio) {
            lastRatio = ratio;
            const double target = float(fileCount) * ratio - 40.0;
            const int targetRow = std::isnan(target) ? 0 : int(target);
            const auto row = std::find_if(rows.cbegin(), rows.cend(), [=](int r) { return r >= targetRow; });
            if (targetRow > 0 && row != rows.cend()) {
                index = int(row - rows.cbegin());
                served = 0;
            }
        }
        const bool counts = index > 0 && index < rows.size() - 1;
        const int row = counts ? rows.takeAt(index) : index > 0 ? rows.takeLast() : rows.takeFirst();
        if (counts && ++served > 100) {
            index = std::max(0, index - 50);
            served = 0;
        }
        return row;
    }
};

} // namespace

class ThumbnailRequestQueueTest : public QObject
{
    Q_OBJECT

private slots:
    void isThePlainOrderForAnyScrolling()
    {
        for (quint32 seed = 0; seed < 60; ++seed) {
            QRandomGenerator random(seed);
            ThumbnailRequestQueue queue;
            PlainQueue plain;
            int added = 0;
            float ratio = 0;
            const int total = random.bounded(1, 900);
            while (added < total || !plain.rows.isEmpty()) {
                for (int batch = random.bounded(200); batch > 0 && added < total; --batch) {
                    queue.append({QFileInfo(), added});
                    plain.rows.append(added++);
                }
                if (random.bounded(40) == 0)
                    ratio = random.bounded(10) == 0 ? std::nanf("") : float(random.generateDouble());
                for (int takes = random.bounded(60); takes > 0 && !plain.rows.isEmpty(); --takes)
                    QCOMPARE(queue.takeNext(ratio, added)->row, plain.takeNext(ratio, added));
                QCOMPARE(queue.size(), size_t(plain.rows.size()));
            }
            QVERIFY(!queue.takeNext(ratio, added));
        }
    }
};

QTEST_GUILESS_MAIN(ThumbnailRequestQueueTest)
#include "ThumbnailRequestQueueTest.moc"
