// Writes files of a format for its fuzzer to start from.
//
//   make-seeds FORMAT FOLDER

#include "formats/heif/HeifWriter.h"
#include "formats/jxl/JxlWriter.h"
#include "support/LayeredFiles.h"
#include "support/TiffFiles.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QGuiApplication>
#include <QMap>
#include <QSaveFile>

#include <tiffio.h>

#include <cstdio>
#include <functional>

namespace {

/// Pictures of several kinds, as a writer writes them.
QList<QByteArray> written(const std::function<bool(const QImage &, QIODevice &)> &write)
{
    QList<QByteArray> seeds;
    for (const QSize size : {QSize(32, 24), QSize(7, 5)}) {
        QImage image(size, QImage::Format_ARGB32);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                image.setPixel(x, y, qRgba(x * 5, y * 7, x * y, 255 - x));
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGBX64,
                                  QImage::Format_RGBA64, QImage::Format_Grayscale8}) {
            QImage picture = image.convertToFormat(format);
            if (format != QImage::Format_Grayscale8) // one space that has code points, one as a profile
                picture.setColorSpace(size.width() > 7 ? QColorSpace::DisplayP3 : QColorSpace::ProPhotoRgb);
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);
            if (write(picture, buffer))
                seeds += buffer.data();
        }
    }
    return seeds;
}

QList<QByteArray> heifSeeds()
{
    using HeifWriter::Coding;
    QList<QByteArray> seeds;
    for (const Coding coding : {Coding::Hevc, Coding::Av1})
        seeds += written([=](const QImage &image, QIODevice &device) {
            return HeifWriter::write(image, device, coding, 30);
        });
    return seeds;
}

QList<QByteArray> jxlSeeds()
{
    QList<QByteArray> seeds;
    for (const int quality : {50, 100})
        seeds += written(
            [=](const QImage &image, QIODevice &device) { return JxlWriter::write(image, device, quality); });
    return seeds;
}

QList<QByteArray> layeredSeeds(bool psp)
{
    using namespace LayeredFiles;
    struct Kind
    {
        int mode, channels, depth;
    };
    const QList<Kind> psdKinds{{Bitmap, 1, 1}, {Gray, 2, 8}, {Indexed, 1, 8}, {Rgb, 4, 8},
                               {Rgb, 3, 16},   {Rgb, 3, 32}, {Cmyk, 5, 8},    {Lab, 3, 8}};
    const QList<Kind> pspKinds{{Rgb, 4, 8}, {Rgb, 4, 16}, {Indexed, 1, 4}, {Indexed, 1, 8}, {Gray, 1, 8}};
    QList<QByteArray> seeds;
    for (const Kind &kind : psp ? pspKinds : psdKinds) {
        for (int compression = Raw; compression <= (psp ? Zip : ZipWithPrediction); ++compression) {
            const Format format = psp ? Psp : compression == Zip ? Psb : Psd;
            Picture picture{format, QSize(9, 5), kind.mode, kind.channels, kind.depth, compression};
            picture.layers = -1;
            seeds += make(picture);
            if (psp) {
                picture.preview = QImage(9, 5, QImage::Format_Grayscale8);
                picture.preview.fill(1);
                seeds += make(picture);
            }
        }
    }
    return seeds;
}

void makeTiffSeeds(const QString &folder)
{
    int seed = 0;
    for (const int tile : {0, 16})
        for (const int planes : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE})
            for (const int samples : {1, 4})
                for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE})
                    TiffFiles::make(folder + '/' + QString::number(seed++),
                                    {tile, planes, samples, compression, 6});
}

void writeAll(const QList<QByteArray> &seeds, const QString &folder)
{
    for (qsizetype i = 0; i < seeds.size(); ++i) {
        QSaveFile file(QDir(folder).filePath(QString::number(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(seeds[i]) != seeds[i].size() || !file.commit())
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

const QMap<QString, std::function<void(const QString &)>> makers{
    {"heif", [](const QString &folder) { writeAll(heifSeeds(), folder); }},
    {"jxl", [](const QString &folder) { writeAll(jxlSeeds(), folder); }},
    {"psd", [](const QString &folder) { writeAll(layeredSeeds(false), folder); }},
    {"psp", [](const QString &folder) { writeAll(layeredSeeds(true), folder); }},
    {"tiff", makeTiffSeeds},
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3 || !QDir().mkpath(arguments[2])) {
        std::fputs("make-seeds FORMAT FOLDER\n", stderr);
        return 2;
    }
    const auto make = makers.value(arguments[1]); // no seeds of ours: the fuzzer starts from nothing
    if (make)
        make(arguments[2]);
    return 0;
}
