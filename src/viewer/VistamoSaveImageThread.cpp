#include "viewer/VistamoSaveImageThread.h"

#include "shared/image/ImageWriting.h"
#include "shared/image/MemoryBudget.h"
#include "shared/platform/HeldFiles.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/ReplacementFile.h"

#include <QColorSpace>
#include <QFileInfo>
#include <QtDebug>

#include <algorithm>
#include <optional>

namespace {

/// What goes to the clipboard has no path, and none in common.
bool goesTo(const QString &path, const TSaveImageRequest &request)
{
    return !path.isEmpty() && CaselessPath(request.fileName) == CaselessPath(path);
}

/// Writes one picture, and tells of each step.
void save(const TSaveImageRequest &request, HeldFiles &heldFiles, const std::function<void()> &step)
{
    QImage image = request.late ? request.late() : request.pixmap.toImage();
    step();
    ReplacementFile file(request.fileName, heldFiles);
    file.setProgress(step);
    if (image.isNull() || !file.create())
        return;
    const QByteArray format = QFileInfo(request.fileName).suffix().toLower().toLatin1();
    std::optional<const MemoryBudget::Share> share;
    share.emplace(static_cast<qint64>(image.width()) * image.height() * ImageWriting::bytesPerPixel(format),
                  MemoryBudget::Patience::Short); // a decoder that hangs may have all there is
    image.setColorSpace(QColorSpace::SRgb);       // in which pictures are on show
    const bool written = ImageWriting::write(
        ImageWriting::fitted(image, format), format, -1, request.source, file,
        request.isTurned ? ImageWriting::Places::Others : ImageWriting::Places::AsInSource);
    share.reset(); // the drive may keep it waiting
    if (written)
        static_cast<void>(file.commit()); // it tells of a failure itself
    else
        qDebug() << "Cannot write" << request.fileName;
}

} // namespace

VistamoSaveImageThread::VistamoSaveImageThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("SaveImage"));
}

void VistamoSaveImageThread::addRequest(QPixmap pixmap, QString fileName, QString source)
{
    addRequest({pixmap, fileName, source});
}

QList<TSaveImageRequest> VistamoSaveImageThread::takeOthers()
{
    const auto access = asked.lock();
    QList<TSaveImageRequest> others;
    for (const TSaveImageRequest &request : std::as_const(access->requestList)) {
        if (!goesTo(access->fileName, request))
            others.append(request);
    }
    access->requestList.removeIf([&](const auto &request) { return !goesTo(access->fileName, request); });
    return others;
}

bool VistamoSaveImageThread::isWriting(const QString &path) const
{
    const auto access = asked.lock();
    const QList<TSaveImageRequest> &waiting = access->requestList;
    return goesTo(path, {{}, access->fileName, {}})
           || std::any_of(waiting.cbegin(), waiting.cend(),
                          [&](const TSaveImageRequest &request) { return goesTo(path, request); });
}

qsizetype VistamoSaveImageThread::left() const
{
    const auto access = asked.lock();
    const QList<TSaveImageRequest> &waiting = access->requestList;
    return std::count_if(waiting.cbegin(), waiting.cend(),
                         [](const TSaveImageRequest &request) { return !request.fileName.isEmpty(); })
           + (access->fileName.isEmpty() ? 0 : 1);
}

bool VistamoSaveImageThread::isDone() const
{
    return isFinished() && asked.lock()->requestList.isEmpty();
}

bool VistamoSaveImageThread::hangs() const
{
    const auto access = asked.lock();
    return access->sinceStep.isValid() && access->sinceStep.hasExpired(deadAfterMs);
}

void VistamoSaveImageThread::run()
{
    const auto step = [this] { asked.lock()->sinceStep.start(); };
    const auto next = [this]() -> std::optional<TSaveImageRequest> {
        const auto access = asked.lock();
        if (access->requestList.isEmpty())
            return std::nullopt;
        access->sinceStep.start();
        const TSaveImageRequest request = access->requestList.takeFirst();
        access->fileName = request.fileName;
        return request;
    };
    HeldFiles heldFiles;
    while (const auto request = next())
        save(*request, heldFiles, step);
}
