#pragma once

#include <QImage>

#include <cstdint>

/// What a fuzzer makes files by: its bytes, of which each says one thing.
class Choices
{
public:
    Choices(const uint8_t *data, size_t size)
        : at(data)
        , end(data + size)
    {
    }

    /// Below `most`; 0 once there are no bytes left.
    int next(int most) { return at < end ? *at++ % most : 0; }

    /// A soft picture whose samples are from `least` to `most`, of 255.
    QImage picture(QSize size, QImage::Format format = QImage::Format_RGB32, int least = 0, int most = 255)
    {
        QImage colours(5, 4, format);
        const auto sample = [&] { return least + next(most - least + 1); };
        for (int i = 0; i < 20; ++i)
            colours.setPixelColor(i % 5, i / 5, QColor(sample(), sample(), sample()));
        return colours.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }

private:
    const uint8_t *at;
    const uint8_t *const end;
};
