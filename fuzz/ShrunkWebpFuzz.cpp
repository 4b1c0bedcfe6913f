// Holds the shrinking of WebP pictures against the means of the whole picture: of soft pictures in the
// colours and of the kind that the bytes say.

#include "Choices.h"

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
    Choices choices(data, size);
    const auto next = [&](int most) { return choices.next(most); };
    const int quality = next(101); // 100 is without loss
    const QSize full(64 + next(193), 64 + next(65));
    const QSize scaled(1 + next(full.width() / 4), 1 + next(full.height() / 4));
    const int cut = next(8) == 7 ? next(256) : 0;
    // Brighter and darker ones are cut off in each pixel alone, the means of them in none.
    QImage picture = choices.picture(full, QImage::Format_RGB32, 80, 175);
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
