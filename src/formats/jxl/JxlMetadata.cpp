#include "formats/jxl/JxlMetadata.h"

#include <QIODevice>
#include <QtEndian>

#include <jxl/decode.h>

#include <memory>

namespace {

constexpr int mostBoxes = 1000;
constexpr qint64 mostFile = 64 << 20;    // bytes read of a file; metadata stand before a long picture
constexpr qsizetype mostBlock = 1 << 20; // bytes of metadata taken

/// The contents of the box that the decoder has come to; empty if there are too many. The decoder goes on.
QByteArray boxContents(JxlDecoder &decoder, JxlDecoderStatus &status)
{
    QByteArray contents(mostBlock, 0);
    if (JxlDecoderSetBoxBuffer(&decoder, reinterpret_cast<uint8_t *>(contents.data()), contents.size())
        != JXL_DEC_SUCCESS)
        return {};
    status = JxlDecoderProcessInput(&decoder);
    const auto unused = static_cast<qsizetype>(JxlDecoderReleaseBoxBuffer(&decoder));
    if (status != JXL_DEC_BOX_NEED_MORE_OUTPUT)
        return contents.left(contents.size() - unused);
    status = JxlDecoderProcessInput(&decoder);
    return {};
}

} // namespace

MetadataBlocks Jxl::readMetadata(QIODevice &device)
{
    MetadataBlocks blocks;
    const qint64 position = device.pos();
    const std::unique_ptr<JxlDecoder, decltype(&JxlDecoderDestroy)> decoder(JxlDecoderCreate(nullptr),
                                                                            JxlDecoderDestroy);
    if (!decoder || !device.seek(0)
        || JxlDecoderSubscribeEvents(decoder.get(), JXL_DEC_BOX) != JXL_DEC_SUCCESS)
        return blocks;
    JxlDecoderSetDecompressBoxes(decoder.get(), JXL_TRUE);
    const QByteArray file = device.read(mostFile);
    device.seek(position);
    JxlDecoderSetInput(decoder.get(), reinterpret_cast<const uint8_t *>(file.constData()), file.size());
    JxlDecoderCloseInput(decoder.get());
    JxlDecoderStatus status = JxlDecoderProcessInput(decoder.get());
    for (int box = 0; status == JXL_DEC_BOX && box < mostBoxes; ++box) {
        JxlBoxType type{};
        JxlDecoderGetBoxType(decoder.get(), type, JXL_TRUE);
        const QByteArray name(type, sizeof type);
        if (name != "Exif" && name != "xml ") {
            status = JxlDecoderProcessInput(decoder.get());
            continue;
        }
        const QByteArray contents = boxContents(*decoder, status);
        if (name == "xml ")
            blocks.xmp = contents;
        else if (contents.size() > 4) // the first four bytes say how many follow before the TIFF header
            blocks.exif = contents.mid(4 + qFromBigEndian<quint32>(contents.constData()));
    }
    return blocks;
}
