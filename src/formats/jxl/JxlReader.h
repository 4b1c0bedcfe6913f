#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <jxl/decode.h>
#include <jxl/resizable_parallel_runner.h>

#include <memory>

class QIODevice;

/// Reads the first frame of a JPEG XL file, bare or in its container, turned as the file says.
class JxlReader
{
public:
    /// Reads from the current position of `device`, which stays the caller's and must live as long.
    explicit JxlReader(QIODevice &device);

    /// "jxl" if the bytes ahead begin a JPEG XL file, otherwise empty.
    [[nodiscard]] static QByteArray format(QIODevice &device);

    /// Pixels of the upright picture, from the header. Empty if the file is broken.
    [[nodiscard]] QSize size();

    /// The format in which the picture is read. Invalid if the file is broken.
    [[nodiscard]] QImage::Format imageFormat();

    /// The upright picture, once: 8 bits a channel, or 16 if the file has more or floating point. Of a file
    /// that ends too early what could be decoded. Null if that is nothing, if the file is broken, or if the
    /// picture is above QImageReader's allocation limit.
    /// @param scaled pixels; the file's size if empty
    [[nodiscard]] QImage read(QSize scaled = {});

private:
    [[nodiscard]] bool open();
    [[nodiscard]] QImage readFull();
    [[nodiscard]] JxlDecoderStatus next();

    template <auto destroy>
    struct Release
    {
        template <typename Type>
        void operator()(Type *object) const
        {
            destroy(object);
        }
    };

    QIODevice &device;
    QByteArray data;
    std::unique_ptr<void, Release<JxlResizableParallelRunnerDestroy>> runner; ///< outlives the decoder
    std::unique_ptr<JxlDecoder, Release<JxlDecoderDestroy>> decoder;
    JxlBasicInfo info{};
    bool opened = false;
};
