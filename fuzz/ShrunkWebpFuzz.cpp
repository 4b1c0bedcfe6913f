// Holds the shrinking of WebP pictures against the means of the whole picture: of soft pictures in the
// colours and of the kind that the bytes say.

#include "shared/image/ShrunkWebp.h"
#include "support/Shrunk.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QGuiApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const uint8_t *const end = data + size;
    const auto next = [&](int most) { return data < end ? *data++ % most : 0; };
    const int quality = next(101); // 100 is without loss
    const QSize full(64 + next(193), 64 + next(65));
    const QSize scaled(1 + next(full.width() / 4), 1 + next(full.height() / 4));
    const int cut = next(8) == 7 ? next(256) : 0;
    QImage picture(5, 4, QImage::Format_RGB32);
    // Brighter and darker ones are cut off in each pixel alone, the means of them in none.
    for (int i = 0; i < 20; ++i)
        picture.setPixelColor(i % 5, i / 5, QColor(80 + next(96), 80 + next(96), 80 + next(96)));
    picture = picture.scaled(full, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    picture.setColorSpace(next(2) ? QColorSpace::DisplayP3 : QColorSpace::SRgb);

    QByteArray file;
    QBuffer buffer(&file);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "webp");
    writer.setQuality(quality);
    if (!writer.write(picture))
        std::abort();
    buffer.close();
    file.chop(cut);
    buffer.open(QIODevice::ReadOnly);
    const QImage shrunk = shrunkWebp(buffer, scaled);
    buffer.seek(0);
    const QImage whole = QImageReader(&buffer, "webp").read();
    const bool isForIt = quality == 100 || (full.width() % 2 == 0 && full.height() % 2 == 0);
    if (shrunk.isNull() ? isForIt && !whole.isNull()
                        : shrunk.size() != scaled || !Shrunk::isOf(whole, shrunk, quality == 100 ? 1 : 4))
        std::abort();
    return 0;
}
