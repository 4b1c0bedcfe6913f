#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

/// What a file says of when, where and how its picture was taken, made true for a new picture of it.
struct EmbeddedMetadata
{
    static constexpr qsizetype mostExifOfJpeg = 65'527; ///< bytes that a segment has room for

    QByteArray exif; ///< TIFF header and directories
    QByteArray xmp;  ///< XML, up to 1 MB
    QByteArray iptc; ///< data sets
    QByteArray icc;  ///< a profile that the encoder leaves out; in PNG, PQ and HLG become code points

    [[nodiscard]] bool isEmpty() const
    {
        return exif.isEmpty() && xmp.isEmpty() && iptc.isEmpty() && icc.isEmpty();
    }

    /// XMP for files that hold no IPTC: with what IPTC alone says.
    [[nodiscard]] QByteArray xmpWithIptc() const;
};

/// The metadata of a file for a picture of `size` pixels that was made from it: upright, without previews,
/// and of sRGB colours if `srgb` says so, which is said even of a file without metadata; no profile. What is
/// broken or too large is left out, and where faces are if they are elsewhere in a cropped picture,
/// or one that was turned or mirrored beyond the source's orientation.
/// Safe to call from any thread.
/// @param mostExif bytes that the target has room for
[[nodiscard]] EmbeddedMetadata metadataForCopy(const QString &path, QSize size, bool srgb, qsizetype mostExif,
                                               bool isTurned = false);

/// An encoded JPEG, WebP or TIFF file with the metadata in it; as it was if they do not go into it.
[[nodiscard]] QByteArray withMetadata(const QByteArray &file, const EmbeddedMetadata &metadata);
