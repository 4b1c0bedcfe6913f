#include "shared/image/ExifOrientation.h"

#include "shared/image/MetadataFile.h"

#include <QtDebug>

#include <exiv2/exiv2.hpp>

QImageIOHandler::Transformations exifOrientation(QIODevice &file)
{
    MetadataFile::prepareLibrary();
    const QByteArray bytes = MetadataFile::withoutPixels(file, MetadataFile::Wanted::Exif);
    if (bytes.isEmpty())
        return QImageIOHandler::TransformationNone;
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
        qDebug() << "exifOrientation: " << error.what();
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
