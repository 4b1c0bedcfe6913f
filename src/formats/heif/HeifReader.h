#pragma once

#include "formats/heif/HeifItems.h"
#include "formats/heif/HeifTypes.h"
#include "shared/image/MetadataBlocks.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QSize>

class QIODevice;

/// Reads the main picture of a HEIC, HEIF or AVIF file, turned and mirrored as the container says. An
/// orientation in the file's EXIF block only repeats that and is passed over.
class HeifReader
{
public:
    /// Reads from the current position of `device`, which stays the caller's and must live as long.
    explicit HeifReader(QIODevice &device);

    /// "heic", "avif" or, for any other coding, "heif", from the first bytes ahead; empty if it is none.
    [[nodiscard]] static QByteArray format(QIODevice &device);

    /// Pixels of the upright picture, from the header. Empty if the file is broken.
    [[nodiscard]] QSize size();

    /// The format in which the picture is read in its full size. Invalid if the file is broken.
    [[nodiscard]] QImage::Format imageFormat();

    /// What the file says of the picture beside its pixels.
    [[nodiscard]] MetadataBlocks metadata();

    /// The upright picture, in the size asked for if one is given: from the thumbnail in the file if that is
    /// large enough, and of the same shape, turn and colours. In its full size where that is not what the
    /// header made of it. Null if the file is broken or the picture above QImageReader's allocation limit.
    [[nodiscard]] QImage read(QSize scaled = {});

private:
    [[nodiscard]] bool open();
    [[nodiscard]] bool limitCost(); ///< of decoding; false for a file that is refused for it
    [[nodiscard]] heif_item_id primaryId() const;
    [[nodiscard]] QImage readThumbnail(QSize scaled) const; ///< null if there is none of use
    [[nodiscard]] std::vector<Heif::Turn> turnsLeft(const heif_image_handle &handle, heif_item_id id) const;
    [[nodiscard]] QImage decode(const heif_image_handle &handle, heif_item_id id, bool forScaling) const;

    QIODevice *device;
    QBuffer buffered; ///< what a device held that cannot seek
    qint64 start = 0;
    bool opened = false;
    Heif::PictureItems items{}; ///< empty where the library needs no help with them
    Heif::Context context;
    Heif::Handle primary;

    friend struct HeifDeviceAccess;
};
