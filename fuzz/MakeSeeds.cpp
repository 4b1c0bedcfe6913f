// Writes files of a format for its fuzzer to start from.
//
//   make-seeds FORMAT FOLDER

#include "formats/heif/HeifWriter.h"
#include "formats/jxl/JxlWriter.h"
#include "support/JxlFiles.h"
#include "support/LayeredFiles.h"
#include "support/TiffFiles.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QGuiApplication>
#include <QImageWriter>
#include <QSaveFile>

#include <tiffio.h>

#include <cstdio>
#include <functional>

namespace {

using Write = std::function<bool(const QImage &, QIODevice &)>;

/// Pictures of several kinds, as the writers write them.
QList<QByteArray> written(const QList<Write> &writers)
{
    QList<QByteArray> seeds;
    for (const Write &write : writers) {
        for (const QSize size : {QSize(32, 24), QSize(7, 5)}) {
            QImage image(size, QImage::Format_ARGB32);
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    image.setPixel(x, y, qRgba(x * 5, y * 7, x * y, 255 - x));
            for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGBX64,
                                      QImage::Format_RGBA64, QImage::Format_Grayscale8}) {
                QImage picture = image.convertToFormat(format);
                if (format != QImage::Format_Grayscale8) // one space that has code points, one as a profile
                    picture.setColorSpace(size.width() > 7 ? QColorSpace::DisplayP3
                                                           : QColorSpace::ProPhotoRgb);
                QBuffer buffer;
                buffer.open(QIODevice::WriteOnly);
                if (write(picture, buffer))
                    seeds += buffer.data();
            }
        }
    }
    return seeds;
}

Write heif(HeifWriter::Coding coding)
{
    return [=](auto &image, auto &device) { return HeifWriter::write(image, device, coding, 30); };
}

Write jxl(int quality)
{
    return [=](auto &image, auto &device) { return JxlWriter::write(image, device, quality); };
}

Write jpeg(int quality, bool isProgressive)
{
    return [=](auto &image, auto &device) {
        QImageWriter writer(&device, "jpeg");
        writer.setQuality(quality);
        writer.setProgressiveScanWrite(isProgressive);
        return writer.write(image);
    };
}

QList<QByteArray> otherJxlSeeds()
{
    QList<QByteArray> seeds;
    for (const int bits : {8, 16})
        for (const int frames : {1, 3})
            seeds += JxlFiles::make({{9, 7}, bits, {JXL_CHANNEL_BLACK, JXL_CHANNEL_ALPHA}, frames, 1});
    return seeds;
}

QList<QByteArray> layeredSeeds(bool psp)
{
    using namespace LayeredFiles;
    using Kind = std::tuple<int, int, int>; // mode, channels, depth
    const QList<Kind> psdKinds{{Bitmap, 1, 1}, {Gray, 2, 8}, {Indexed, 1, 8}, {Rgb, 4, 8},
                               {Rgb, 3, 16},   {Rgb, 3, 32}, {Cmyk, 5, 8},    {Lab, 3, 8}};
    const QList<Kind> pspKinds{{Rgb, 4, 8}, {Rgb, 4, 16}, {Indexed, 1, 4}, {Indexed, 1, 8}, {Gray, 1, 8}};
    QList<QByteArray> seeds;
    for (const auto &[mode, channels, depth] : psp ? pspKinds : psdKinds) {
        for (int compression = Raw; compression <= (psp ? Zip : ZipWithPrediction); ++compression) {
            const Format format = psp ? Psp : compression == Zip ? Psb : Psd;
            Picture picture{format, QSize(9, 5), mode, channels, depth, compression};
            picture.layers = -1;
            seeds += make(picture);
            picture.preview = QImage(9, 5, QImage::Format_Mono);
            picture.preview.fill(1);
            seeds += make(picture);
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
                    for (const auto &[bits, format] : {std::pair(8, SAMPLEFORMAT_UINT),
                                                       {12, SAMPLEFORMAT_UINT},
                                                       {16, SAMPLEFORMAT_UINT},
                                                       {32, SAMPLEFORMAT_IEEEFP}})
                        TiffFiles::make(folder + '/' + QString::number(seed++),
                                        {tile, planes, samples, compression, 6, bits, format, bits == 12});
}

void writeAll(const QList<QByteArray> &seeds, const QString &folder)
{
    for (qsizetype i = 0; i < seeds.size(); ++i) {
        QSaveFile file(QDir(folder).filePath(QString::number(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(seeds[i]) != seeds[i].size() || !file.commit())
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

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
    const QString format = arguments[1]; // without seeds of ours a fuzzer starts from nothing
    if (format == "heif")
        writeAll(written({heif(HeifWriter::Coding::Hevc), heif(HeifWriter::Coding::Av1)}), arguments[2]);
    else if (format == "jpeg")
        writeAll(written({jpeg(20, false), jpeg(95, false), jpeg(20, true), jpeg(95, true)}), arguments[2]);
    else if (format == "bmp" || format.endsWith("png"))
        writeAll(written({[=](auto &image, auto &device) {
                     return image.save(&device, format.last(3).toLatin1());
                 }}),
                 arguments[2]);
    else if (format == "jxl")
        writeAll(written({jxl(50), jxl(100)}) + otherJxlSeeds(), arguments[2]);
    else if (format == "psd" || format == "psp")
        writeAll(layeredSeeds(format == "psp"), arguments[2]);
    else if (format.endsWith("tiff"))
        makeTiffSeeds(arguments[2]);
    return 0;
}
