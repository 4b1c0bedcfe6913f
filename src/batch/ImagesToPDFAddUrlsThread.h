#pragma once

#include "shared/threads/StoppableThread.h"
#include "shared/threads/WorkQueue.h"
#include "shared/VistamoGlobal.h"

#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QUrl>

#include <functional>
#include <memory>

template <typename Result>
class OrderedWork;

/// A file on its way into the batch list.
struct BatchFile
{
    TThumbnailRecord key; ///< of its thumbnail in the database
    QString resolution;   ///< empty for a file that could not be read
    QImage icon;          ///< null if the database gives the thumbnail
};
Q_DECLARE_METATYPE(BatchFile)

/// Collects files for the batch list: walks folders, passes over what is no image, and finds or makes the
/// thumbnails, on all processors.
///
/// Owned by a `Worker` on the GUI thread; `run` is the worker's. It ends when nothing is left; what is
/// added while it ends stays in `takeWaiting` for the next.
class ImagesToPDFAddUrlsThread : public StoppableThread
{
    Q_OBJECT

public:
    /// @param thumbnailSize longest side of a thumbnail in the database, pixels
    explicit ImagesToPDFAddUrlsThread(int thumbnailSize, QObject *parent = nullptr);
    ~ImagesToPDFAddUrlsThread() override;

    void addUrls(const QList<QUrl> &urls);

    /// What was not added, oldest first.
    [[nodiscard]] QList<QUrl> takeWaiting() { return urlList.takeAll(); }

signals:
    /// Files in the order in which they were met, each in one batch; the batches grow with the list.
    void filesFound(const QList<BatchFile> &files);

    /// After the last file: its path, empty if there was none.
    void addUrlsFinish(QString lastPath);

protected:
    void run() override;

private:
    void addUrl(const QString &path);
    void addFile(const QString &path);
    void take(BatchFile file);
    void publish();

    const int thumbnailSize;
    WorkQueue<QUrl> urlList;

    // The worker's own
    std::unique_ptr<OrderedWork<BatchFile>> work;
    QList<BatchFile> unpublished;
    qsizetype published = 0;
    QElapsedTimer sincePublished;
    QString lastPath;
};
