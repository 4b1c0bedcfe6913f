#include "JxlSeeds.h"

#include "formats/jxl/JxlWriter.h"

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

void makeJxlSeeds(const QString &folder)
{
    for (const int quality : {50, 100}) {
        const auto write = [&](const QString &name, const QImage &image) {
            QFile file(folder + '/' + name + QString::number(quality) + ".jxl");
            if (file.open(QIODevice::WriteOnly))
                JxlWriter::write(image, file, quality);
        };
        write("plain", picture({32, 24}, QImage::Format_RGB32));
        write("alpha", picture({32, 24}, QImage::Format_ARGB32));
        write("deep", picture({32, 24}, QImage::Format_RGBX64));
        write("grey", picture({7, 5}, QImage::Format_Grayscale8));
        QImage profiled = picture({16, 16}, QImage::Format_RGB32);
        profiled.setColorSpace(QColorSpace::ProPhotoRgb);
        write("profile", profiled);
    }
}
