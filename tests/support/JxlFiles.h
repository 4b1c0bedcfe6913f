#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>

#include <jxl/codestream_header.h>
#include <jxl/color_encoding.h>
#include <jxl/encode.h>

#include <utility>

/// JPEG XL files of kinds that the program does not write, made by libjxl.
namespace JxlFiles {

struct Kind
{
    QSize size = {9, 7};
    int bits = 8;                         ///< of a sample, 8 or 16
    QList<JxlExtraChannelType> more = {}; ///< channels beside the colours
    int frames = 1;
    quint32 duration = 0; ///< of a frame; one of nothing belongs to the same picture as the next
    bool lossy = false;
    QByteArray profile = {}; ///< sRGB if empty
    QImage picture = {};     ///< of that size, opaque; of one colour if null
    int orientation = 1;     ///< as in EXIF
    QList<std::pair<JxlEncoderFrameSettingId, int>> settings = {};
};

constexpr int colours[] = {200, 100, 50}; // of 255
constexpr int inOthers = 128;

QByteArray make(const Kind &kind);

} // namespace JxlFiles
