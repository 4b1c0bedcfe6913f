#include "batch/ImagesToPDFConvertThread.h"

#include "shared/platform/Platform.h"

ImagesToPDFConvertThread::ImagesToPDFConvertThread(QObject *parent)
    : StoppableThread(parent)
{
    setObjectName(QStringLiteral("Convert"));
    options = BatchOptions::current();
}

void ImagesToPDFConvertThread::run()
{
    const RunObserver observer = {[this](const QString &source) { emit updateFileName(source); },
                                  [this] { return stopRequested.load(); }};
    ExistingTargets existing;
    if (!stopRequested && isConvertMode)
        existing = convertImages(*this, observer);
    else if (!stopRequested)
        emit pagesWritten(createPdf(*this, observer));
    Platform::returnFreedMemory(); // of pictures and encoders, a gigabyte
    if (stopRequested)
        emit threadTerminated();
    else
        emit threadCompleted(existing.fileExistsList, existing.fileSourceList);
}
