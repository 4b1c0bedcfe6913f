#pragma once

#include "shared/threads/Guarded.h"
#include "shared/threads/Worker.h"
#include "viewer/VistamoSaveImageThread.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <vector>

/// Writes exported pictures in the background, in the order in which they were asked for; what goes elsewhere
/// passes one that hangs. GUI thread.
class Exports : public QObject
{
    Q_OBJECT

public:
    Exports();
    ~Exports() override;

    /// Starts writing a picture; the suffix of the path says the format. What stands there stays if it fails.
    /// @param source the file that it was made from, whose metadata go along
    void add(const QPixmap &picture, const QString &path, const QString &source = {});

    /// The same for a picture that is yet to be decoded, by a function for another thread.
    /// @param isTurned or mirrored, against what the source shows
    void add(const std::function<QImage()> &picture, const QString &path, const QString &source,
             bool isTurned = false);

    /// Decodes a picture in its turn: `made` tells of it, unless the program ends or another is asked for.
    void make(const std::function<QImage()> &picture);

    /// Lets `made` tell of nothing that was asked for until now.
    void dropMade() { ++lastMade; }

    /// True until `finished`.
    [[nodiscard]] bool saveImageThreadRunning() const;

    /// At the end of the program: waits until everything that was asked for is written, but not for a drive
    /// that hangs.
    void finish();

signals:
    /// About once a second: so many pictures are yet to be written to files.
    void working(qsizetype left);

    void made(const QImage &picture);

    /// Nothing is left to write.
    void finished();

private:
    using Writer = Worker<VistamoSaveImageThread>;

    void write(const TSaveImageRequest &request);
    void write(const QList<TSaveImageRequest> &requests, Writer &writer);
    void passHanging();
    void tellWork();

    std::vector<std::unique_ptr<Writer>> writers; ///< that at work last; before it those that hung
    QTimer hangTimer;                             ///< runs while something is being written
    /// For threads that may outlive this object; null once it has gone.
    const std::shared_ptr<Guarded<Exports *>> receiver = std::make_shared<Guarded<Exports *>>();
    quint64 lastMade = 0; ///< number of the newest picture that was to be made
};
