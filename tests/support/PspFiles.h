#pragma once

#include <QImage>

/// Makes layered .pspimage files as the program of their origin does.
namespace PspFiles {

enum Compression
{
    Raw,
    RunLength,
    Zip
};

struct File
{
    QImage picture; ///< ARGB32, RGBA64, Indexed8 or Grayscale8
    Compression compression = Zip;
    bool hasComposite = true;
    QImage preview = {}; ///< stored as a JPEG if it is not null
    int indexBits = 8;   ///< of Indexed8: 1, 4 or 8 bits a pixel
};

QByteArray make(const File &file);

} // namespace PspFiles
