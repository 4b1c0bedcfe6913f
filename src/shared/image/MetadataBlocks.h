#pragma once

#include <QByteArray>
#include <QImageReader>
#include <QImageWriter>
#include <QString>

/// Metadata that readers and writers among the plug-ins give and take as texts of Qt's, in base 64.
struct MetadataBlocks
{
    QByteArray exif; ///< from the TIFF header on
    QByteArray xmp;  ///< XML

    [[nodiscard]] bool isEmpty() const { return exif.isEmpty() && xmp.isEmpty(); }

    [[nodiscard]] static MetadataBlocks of(const QImageReader &reader)
    {
        return {decoded(reader.text(exifKey)), decoded(reader.text(xmpKey))};
    }

    void handTo(QImageWriter &writer) const
    {
        if (!exif.isEmpty())
            writer.setText(exifKey, QString::fromLatin1(exif.toBase64()));
        if (!xmp.isEmpty())
            writer.setText(xmpKey, QString::fromLatin1(xmp.toBase64()));
    }

    /// Out of the description that a handler is given.
    [[nodiscard]] static MetadataBlocks of(const QString &description)
    {
        MetadataBlocks blocks;
        for (const QString &text : description.split(QStringLiteral("\n\n"))) {
            if (text.startsWith(exifKey + QLatin1String(": ")))
                blocks.exif = decoded(text.mid(exifKey.size() + 2));
            else if (text.startsWith(xmpKey + QLatin1String(": ")))
                blocks.xmp = decoded(text.mid(xmpKey.size() + 2));
        }
        return blocks;
    }

    /// The description that a handler gives.
    [[nodiscard]] QString description() const
    {
        return exifKey + QLatin1String(": ") + QString::fromLatin1(exif.toBase64()) + QLatin1String("\n\n")
               + xmpKey + QLatin1String(": ") + QString::fromLatin1(xmp.toBase64());
    }

private:
    static QByteArray decoded(const QString &text) { return QByteArray::fromBase64(text.toLatin1()); }

    static constexpr QLatin1String exifKey{"ExifBlock"};
    static constexpr QLatin1String xmpKey{"XmpPacket"};
};
