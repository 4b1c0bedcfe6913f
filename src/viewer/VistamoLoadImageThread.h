#pragma once

#include "shared/platform/PathIdentity.h"
#include "shared/threads/Guarded.h"
#include "shared/threads/StoppableThread.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QList>
#include <QPixmap>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

/// A picture that is decoded by the first thread that wants it; another one waits for it.
class DecodedOnce
{
public:
    /// The result of the first call's `decode`, null if that was. Any thread; waits for one that decodes.
    [[nodiscard]] QPixmap get(const std::function<QPixmap()> &decode);

private:
    std::once_flag once;
    QPixmap pixmap;
};

/// A picture that is asked for.
struct ImageRequest
{
    QString path;
    // Of a prefetched picture: where it is, and the file as it was when the list was read.
    qint64 size = 0; ///< bytes
    QDateTime modified = {};
    std::shared_ptr<DecodedOnce> prefetched = {};
    std::shared_ptr<DecodedOnce> shared = {}; ///< by all who want this very request

    /// The same file, unchanged.
    bool isSameFile(const ImageRequest &other) const
    {
        return ExactPath(path) == ExactPath(other.path) && size == other.size && modified == other.modified;
    }
};

/// The picture of a request, null if it could not be read; a prefetched one is decoded again if the file has
/// changed. On any thread.
[[nodiscard]] QPixmap pictureOf(const ImageRequest &request);

/// Decodes pictures for the viewer, and gives them in the order in which they were asked for. Several are
/// decoded in parallel if several are asked for.
///
/// The object is owned by its `Worker` and lives on the GUI thread; `run` is the worker's. It ends when
/// nothing is waiting or in flight; what is added while it ends stays in `takeWaiting` for the next.
class VistamoLoadImageThread : public StoppableThread
{
    Q_OBJECT

public:
    explicit VistamoLoadImageThread(QObject *parent = nullptr);

    /// Asks for a picture. With ten waiting, the newest of them is dropped in its favour, so that a held
    /// arrow key does not pile up work.
    void addFile(const ImageRequest &request);

    /// What was not given, oldest first, except the picture that a hanging thread hangs on.
    QList<ImageRequest> takeWaiting();

    /// True if no picture has come for so long that the drive of one in flight is taken for dead.
    bool hangs() const;

    void stop() override;

    /// After this long without a picture, milliseconds: longer than one waits for memory. For tests to set.
    static inline qint64 deadAfterMs = 30000;

signals:
    /// The picture, null if it could not be read.
    void imageLoaded(QPixmap pixmap);

protected:
    void run() override;

private:
    void decodeInTurn();
    std::optional<ImageRequest> takeNext(qint64 &turn);
    void startHelper();

    struct Asked
    {
        QList<ImageRequest> fileNameList;
        QList<ImageRequest> inFlight; ///< the oldest first
        qint64 given = 0;             ///< pictures so far
        QElapsedTimer sinceLastGiven;
    };
    mutable Guarded<Asked> asked;
    QThreadPool helpers; // last: its end waits for them
};
