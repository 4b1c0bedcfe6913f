#include "library/ThumbnailRequestQueue.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>

namespace {

/// The order of service told plainly, on one list.
class PlainQueue
{
public:
    QList<int> rows;

    int takeNext(float ratio, int fileCount)
    {
        if (lastRatio != ratio) {
            lastRatio = ratio;
            const double target = float(fileCount) * ratio - 40.0;
            const int targetRow = std::isnan(target) ? 0 : int(target);
            for (int i = 0; targetRow > 0 && i < rows.size(); ++i) {
                if (rows[i] >= targetRow) {
                    index = i;
                    served = 0;
                    break;
                }
            }
        }
        int row = 0;
        if (index == 0) {
            row = rows.takeFirst();
        } else if (index < rows.size() - 1) {
            row = rows.takeAt(index);
            ++served;
        } else {
            row = rows.takeLast();
        }
        if (served > 100) {
            index = std::max(0, index - 50);
            served = 0;
        }
        return row;
    }

private:
    float lastRatio = 0;
    int index = 0;
    int served = 0;
};

} // namespace

class ThumbnailRequestQueueTest : public QObject
{
    Q_OBJECT

private slots:
    void serviceFollowsTheScrollBar_data();
    void serviceFollowsTheScrollBar();
    void isThePlainOrderForAnyScrolling();

private:
    static ThumbnailRequestQueue queueOf(int count)
    {
        ThumbnailRequestQueue queue;
        for (int row = 0; row < count; ++row)
            queue.append({QFileInfo(), row});
        return queue;
    }
};

void ThumbnailRequestQueueTest::serviceFollowsTheScrollBar_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<float>("ratio");
    QTest::addColumn<QList<int>>("first");
    QTest::addRow("not scrolled") << 500 << 0.0f << QList<int>{0, 1, 2};
    QTest::addRow("list that does not scroll") << 500 << std::nanf("") << QList<int>{0, 1, 2};
    QTest::addRow("a little above the screen") << 1000 << 0.5f << QList<int>{460, 461, 462};
    QTest::addRow("within the lead-in") << 1000 << 0.04f << QList<int>{0, 1, 2};
    QTest::addRow("end of the list") << 1000 << 1.0f << QList<int>{960, 961, 962};
    QTest::addRow("one file") << 1 << 1.0f << QList<int>{0};
}

void ThumbnailRequestQueueTest::serviceFollowsTheScrollBar()
{
    QFETCH(int, count);
    QFETCH(float, ratio);
    QFETCH(QList<int>, first);
    ThumbnailRequestQueue queue = queueOf(count);
    for (const int row : first)
        QCOMPARE(queue.takeNext(ratio, count)->row, row);
}

void ThumbnailRequestQueueTest::isThePlainOrderForAnyScrolling()
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

QTEST_GUILESS_MAIN(ThumbnailRequestQueueTest)
#include "ThumbnailRequestQueueTest.moc"
