#include "shared/image/ShrunkRows.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int whole = 256; ///< all weights of a place, so that 16 bits hold the sum of samples

/// How much of a place among `to` is covered by one of `from` things that fill them together, of `whole`. The
/// sum of all is `whole`.
int weight(int thing, int place, int from, int to)
{
    const auto until = [&](qint64 edge) {
        return std::clamp<qint64>(((edge * to - qint64(place) * from) * whole + from / 2) / from, 0, whole);
    };
    return static_cast<int>(until(thing + 1) - until(thing));
}

/// Weights of the columns that each pixel of a row covers, the same number for each.
struct Columns
{
    Columns(int from, int to)
        : each(from / to + 2)
        , first(static_cast<size_t>(to))
        , weights(static_cast<size_t>(to) * static_cast<size_t>(each))
    {
        auto next = weights.begin();
        for (int x = 0; x < to; ++x) {
            first[x] = static_cast<int>(qint64(x) * from / to);
            for (int i = 0; i < each; ++i)
                *next++ = static_cast<quint16>(weight(first[x] + i, x, from, to));
        }
    }

    int each;
    std::vector<int> first;
    std::vector<quint16> weights;
};

/// @param sums of each column, and behind the last one as many as a pixel covers
template <int channels>
void shrinkRow(const quint16 *sums, const Columns &columns, uchar *pixel)
{
    constexpr quint32 half = whole * whole / 2;
    const quint16 *weight = columns.weights.data();
    const int each = columns.each; // which a byte of a pixel might be, for all that the compiler knows
    for (const int first : columns.first) {
        const quint16 *sample = sums + static_cast<size_t>(first) * channels;
        quint32 means[channels];
        std::fill_n(means, channels, half);
        for (int i = 0; i < each; ++i, ++weight, sample += channels)
            for (int channel = 0; channel < channels; ++channel)
                means[channel] += quint32(sample[channel]) * *weight;
        for (int channel = 0; channel < channels; ++channel)
            *pixel++ = static_cast<uchar>(means[channel] / whole / whole);
    }
}

} // namespace

bool shrinkRows(const PictureRows &picture, QSize size, const std::function<bool(uchar *row)> &give)
{
    const QSize from = picture.size;
    const Columns columns(from.width(), size.width());
    const auto samples = static_cast<size_t>(picture.bytesOfRow());
    std::vector<uchar> row(samples), smaller(samples);
    std::vector<quint16> sums(samples + 3 * static_cast<size_t>(columns.each));
    int y = 0;
    for (int read = 0; read < from.height(); ++read) {
        if (!picture.next(row.data()))
            return false;
        const qint64 end =
            qint64(read + 1) * size.height(); // where it ends, in parts of rows of both pictures
        do {
            const auto part = static_cast<quint16>(weight(read, y, from.height(), size.height()));
            for (size_t i = 0; i < samples; ++i)
                sums[i] = static_cast<quint16>(sums[i] + row[i] * part);
            if (end < qint64(y + 1) * from.height())
                break;
            picture.isGrey() ? shrinkRow<1>(sums.data(), columns, smaller.data())
                             : shrinkRow<3>(sums.data(), columns, smaller.data());
            if (!give(smaller.data()))
                return false;
            std::fill(sums.begin(), sums.end(), 0);
            ++y;
        } while (end > qint64(y) * from.height());
    }
    return true;
}
