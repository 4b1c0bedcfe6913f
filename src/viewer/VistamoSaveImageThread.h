#pragma once

#include "shared/threads/Guarded.h"
#include "shared/threads/StoppableThread.h"

#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QPixmap>
#include <QString>

#include <functional>
#include <utility>

/// A picture to be written.
struct TSaveImageRequest
{
    QPixmap pixmap;
    QString fileName;                  ///< the path; its suffix says the format
    QString source;                    ///< the file that it was made from, whose metadata go along
    std::function<QImage()> late = {}; ///< gives the picture where there is no pixmap yet
    bool isTurned = false;             ///< or mirrored, against what the source shows
};

/// Writes exported pictures, in the order in which they were asked for.
///
/// The object is owned by its `Worker` and lives on the GUI thread; `run` is the worker's. It ends when
/// nothing is left to write; what is added while it ends stays in `takeWaiting` for the next. A picture that
/// cannot be encoded or written leaves what stood at its path as it was.
class VistamoSaveImageThread : public StoppableThread
{
    Q_OBJECT

public:
    explicit VistamoSaveImageThread(QObject *parent = nullptr);

    void addRequest(QPixmap pixmap, QString fileName, QString source = {});
    void addRequest(const TSaveImageRequest &request) { asked.lock()->requestList.append(request); }

    /// What was not written, oldest first.
    [[nodiscard]] QList<TSaveImageRequest> takeWaiting()
    {
        return std::exchange(asked.lock()->requestList, {});
    }

    /// The same, but for what goes to the file that is being written: the later picture is to stay there.
    [[nodiscard]] QList<TSaveImageRequest> takeOthers();

    /// True while a picture is being written to this path, or about to be.
    [[nodiscard]] bool isWriting(const QString &path) const;

    /// How many pictures are yet to be written to files, while the thread runs: that in hand too.
    [[nodiscard]] qsizetype left() const;

    /// True if nothing is left to write; the thread may still be ending.
    [[nodiscard]] bool isDone() const;

    /// True if no step has been made for so long that a drive is taken for dead, or for encoding.
    [[nodiscard]] bool hangs() const;

    /// After this long without a step, milliseconds. For tests to set.
    static inline qint64 deadAfterMs = 30000;

    /// Nothing: what was asked for is written.
    void stop() override {}

protected:
    void run() override;

private:
    struct Asked
    {
        QList<TSaveImageRequest> requestList;
        QString fileName; ///< that is being written; empty for none
        QElapsedTimer sinceStep;
    };
    mutable Guarded<Asked> asked;
};
