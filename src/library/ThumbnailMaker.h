#pragma once

#include "library/Generation.h"
#include "library/ThumbnailRequestQueue.h"
#include "library/Thumbnails.h"
#include "shared/threads/Guarded.h"
#include "shared/VistamoGlobal.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QSize>
#include <QThreadPool>

#include <atomic>
#include <functional>

/// A thumbnail for one row of the list.
struct ThumbnailAnswer
{
    Generation generation; ///< of the load that asked
    int row = 0;           ///< where the file stood then
    QString fileName;      ///< which file of the folder it is
    TThumbnailRecord key;  ///< of the file in the database
    QSize size;            ///< of the thumbnail, pixels; empty where the file gives no picture
    bool stored = false;   ///< the database gives the picture
    QByteArray encoded; ///< the picture where the database does not: a JPEG, or a PNG if it has transparency
    bool changing = false; ///< the file is being written: to be made again when it is complete
    bool again = false;    ///< asked for by `makeAgain`
};
Q_DECLARE_METATYPE(ThumbnailAnswer)

/// Makes thumbnails from files on all processors and stores them in the database.
///
/// Lives on the GUI thread; `make`, `waitForLoad` and `wake` may be called from any thread. A decode is never
/// waited for when the folder changes: as many as there are processors may be in flight for a load, twice as
/// many altogether, and a load that has none in flight may always start one.
class ThumbnailMaker : public QObject
{
    Q_OBJECT

public:
    explicit ThumbnailMaker(QObject *parent = nullptr);
    ~ThumbnailMaker() override;

    [[nodiscard]] int processorCount() const { return processors; }

    /// Starts a request. Back-pressure: waits first while too many are in flight, and gives up once `stopped`
    /// is set; `wake` makes a waiting thread look at it.
    void make(Generation generation, const TThumbnailRequest &request, ThumbnailStoring storing,
              const std::atomic_bool &stopped);

    /// Makes a thumbnail again, whose picture was dropped or not complete, without back-pressure: the caller
    /// keeps them few.
    void makeAgain(Generation generation, const TThumbnailRequest &request, ThumbnailStoring storing);

    /// Waits until nothing is in flight for this load, or `isOver` gives true: called under a lock, and again
    /// at each `wake`.
    void waitForLoad(Generation generation, const std::function<bool()> &isOver);

    void wake();

    /// Waits for all that is in flight, `milliseconds` at most. False if something still is.
    [[nodiscard]] bool finish(int milliseconds) { return pool.waitForDone(milliseconds); }

signals:
    void made(const ThumbnailAnswer &answer);

private:
    /// Counts decodes.
    struct InFlight
    {
        QHash<Generation, int> ofGeneration;
        int all = 0;

        [[nodiscard]] bool mayStart(Generation generation, int processors) const;
        void add(Generation generation);
        void remove(Generation generation);
    };

    const int processors;
    QThreadPool pool;
    Guarded<InFlight> inFlight;
};
