#pragma once

#include "library/ThumbnailRequestQueue.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSize>
#include <QString>
#include <QThreadPool>
#include <QWaitCondition>

#include <atomic>

/// Side of a thumbnail and of its square, pixels: the largest icon size of the list.
constexpr int thumbnailSide = 256;

/// A thumbnail for one row of the list.
struct ThumbnailAnswer
{
    int load = 0; ///< the load of a folder that asked
    int row = 0;  ///< where the file stood then
    QString fullPath;
    QSize size;          ///< of the thumbnail, pixels; empty where the file gives no picture
    bool stored = false; ///< the database gives the picture
    QByteArray encoded;  ///< the picture where the database does not: a JPEG, or a PNG if it has transparency
};
Q_DECLARE_METATYPE(ThumbnailAnswer)

/// Makes thumbnails from files on all processors and stores them in the database.
///
/// Lives on the GUI thread; `make`, `waitForLoad` and `wake` may be called from any thread. A decode is never
/// waited for when the folder changes: as many as there are processors may be in hand for a load, twice as
/// many altogether, and a load that has none in hand may always start one.
class ThumbnailMaker : public QObject
{
    Q_OBJECT

public:
    explicit ThumbnailMaker(QObject *parent = nullptr);
    ~ThumbnailMaker() override;

    /// Starts on a request, waiting for a free place first. False if `stopped` was set meanwhile; `wake`
    /// makes a waiting thread look at it.
    /// @param storedIsBroken the database has a row for the file that does not decode
    bool make(int load, const TThumbnailRequest &request, bool storedIsBroken,
              const std::atomic_bool &stopped);

    /// Makes a thumbnail again whose picture is at hand no longer, without waiting for a place.
    /// @param stored the database should have given it
    void makeAgain(int load, const TThumbnailRequest &request, bool stored);

    /// Waits until nothing is in hand for `load`, or `stopped` is set.
    void waitForLoad(int load, const std::atomic_bool &stopped);

    void wake();

    /// Waits for all that is in hand, `milliseconds` at most. False if something is still going on then.
    bool finish(int milliseconds);

signals:
    void made(const ThumbnailAnswer &answer);

private:
    bool mayStart(int load) const;
    void release(int load);

    const int processors;
    QThreadPool pool;
    QThreadPool againPool;
    QMutex mutex;
    QWaitCondition changed;
    QHash<int, int> inHand; ///< by load; guarded by mutex
    int allInHand = 0;
};
