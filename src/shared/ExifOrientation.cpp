#include "shared/ExifOrientation.h"

#include <QFile>
#include <QtDebug>

#include <exiv2/exiv2.hpp>

#include <mutex>

namespace {

constexpr qint64 largestFile = 256 * 1024 * 1024;

/// The XMP part of the library is not safe for threads without a lock of ours.
void lockXmp(void *mutex, bool lock)
{
    auto *const xmpMutex = static_cast<std::recursive_mutex *>(mutex);
    lock ? xmpMutex->lock() : xmpMutex->unlock();
}

void prepareLibrary()
{
    static std::recursive_mutex xmpMutex;
    static std::once_flag prepared;
    std::call_once(prepared, [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize(lockXmp, &xmpMutex);
    });
}

} // namespace

QImageIOHandler::Transformations exifOrientation(const QString &path)
{
    prepareLibrary();
    // Given the bytes, the library need not understand the system's file names.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > largestFile)
        return QImageIOHandler::TransformationNone;
    const QByteArray bytes = file.readAll();
    try {
        const auto image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(bytes.constData()),
                                                     static_cast<long>(bytes.size()));
        image->readMetadata();
        const auto entry = image->exifData().findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        if (entry != image->exifData().end() && entry->count() > 0)
#if EXIV2_TEST_VERSION(0, 28, 0)
            return transformationOfExifValue(static_cast<int>(entry->toInt64()));
#else
            return transformationOfExifValue(static_cast<int>(entry->toLong()));
#endif
    } catch (const std::exception &error) {
        qDebug() << "exifOrientation: " << path << error.what();
    }
    return QImageIOHandler::TransformationNone;
}

QImageIOHandler::Transformations transformationOfExifValue(int orientation)
{
    switch (orientation) {
    case 2:
        return QImageIOHandler::TransformationMirror;
    case 3:
        return QImageIOHandler::TransformationRotate180;
    case 4:
        return QImageIOHandler::TransformationFlip;
    case 5:
        return QImageIOHandler::TransformationFlipAndRotate90;
    case 6:
        return QImageIOHandler::TransformationRotate90;
    case 7:
        return QImageIOHandler::TransformationMirrorAndRotate90;
    case 8:
        return QImageIOHandler::TransformationRotate270;
    default:
        return QImageIOHandler::TransformationNone;
    }
}
