#include "HeifSeeds.h"

#include "formats/heif/HeifWriter.h"

#include <QColorSpace>
#include <QFile>

namespace {

QImage picture(QSize size, QImage::Format format)
{
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgba(x * 5, y * 7, x * y, 255 - x));
    }
    return image.convertToFormat(format);
}

} // namespace

void makeHeifSeeds(const QString &folder)
{
    for (const auto coding : {HeifWriter::Coding::Hevc, HeifWriter::Coding::Av1}) {
        const QString suffix = coding == HeifWriter::Coding::Hevc ? ".heic" : ".avif";
        const auto write = [&](const QString &name, const QImage &image) {
            QFile file(folder + '/' + name + suffix);
            if (file.open(QIODevice::WriteOnly))
                HeifWriter::write(image, file, coding, 30);
        };
        write("plain", picture({32, 24}, QImage::Format_RGB32));
        write("alpha", picture({32, 24}, QImage::Format_ARGB32));
        write("deep", picture({32, 24}, QImage::Format_RGBX64));
        write("deep-alpha", picture({16, 16}, QImage::Format_RGBA64));
        write("odd", picture({7, 5}, QImage::Format_RGB32));
        QImage profiled = picture({16, 16}, QImage::Format_RGB32);
        profiled.setColorSpace(QColorSpace::DisplayP3);
        write("profile", profiled);
    }
}
