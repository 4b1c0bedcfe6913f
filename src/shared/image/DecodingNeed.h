#pragma once

#include <QtGlobal>

class QImageReader;
class QIODevice;

/// Memory that reading a picture takes, bytes.
struct DecodingNeed
{
    qint64 pictures = 0; ///< for two of what is decoded, which may have to be turned
    qint64 decoder = 0;  ///< what the decoder keeps besides, which QImageReader's limit does not count

    [[nodiscard]] qint64 sum() const { return pictures + decoder; }
};

/// What `reader` will take for a file, scaled as it has been told, from the file's header.
[[nodiscard]] DecodingNeed decodingNeed(const QImageReader &reader, QIODevice &file);
