#include "slideshow/SlideLoader.h"

#include "shared/image/ImageReading.h"

SlideLoader::SlideLoader(const QString &path, QObject *parent)
    : StoppableThread(parent)
    , path(path)
{
    setObjectName(QStringLiteral("LoadSlide"));
}

void SlideLoader::run()
{
    const QImage image = ImageReading::read(path);
    if (!stopRequested)
        emit loaded(path, image);
}
