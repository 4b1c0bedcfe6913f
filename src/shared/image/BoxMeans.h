#pragma once

#include <QSize>

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>
#include <vector>

/// How far things of `units` each fill places of `room` each, one after the other.
class Filling
{
public:
    Filling(int units, int room)
        : units(units)
        , room(room)
        , left(room)
    {
    }

    /// Fills in one more: `add` is told how many of its units go into the place in hand, `finish` that the
    /// place is full.
    template <typename Add, typename Finish>
    void next(const Add &add, const Finish &finish)
    {
        for (int rest = units; rest > 0;) {
            const int part = std::min(rest, left);
            add(part);
            rest -= part;
            left -= part;
            if (left == 0) {
                finish();
                left = room;
            }
        }
    }

private:
    const int units;
    const int room;
    int left; ///< of the place in hand
};

/// Makes rows of a smaller picture as the larger one's come. A sample is the mean of what it covers: of each
/// column first, then of these, both in whole numbers and rounded down, as in Qt's PNG plug-in.
/// @tparam Sample of 8 or 16 bits, without a sign
/// @tparam Mean of 16 bits for samples of 8, to have the means in parts of 256 of theirs
template <typename Sample, typename Mean = Sample>
class BoxMeans
{
public:
    static constexpr int mostChannels = 4;

    /// @param from size of the larger picture, at most a million pixels a side
    /// @param to of the smaller one; neither side is longer
    /// @param channels samples of a pixel, at most four
    BoxMeans(QSize from, QSize to, int channels)
        : from(from)
        , to(to)
        , channels(static_cast<size_t>(channels))
        , rows(to.height(), from.height())
        , sums(static_cast<size_t>(from.width()) * this->channels)
        , wholeRows(sums.size())
        , smaller(static_cast<size_t>(to.width()) * this->channels)
    {
    }

    /// Takes in the next row. `give` is given each row of the smaller picture, all of its samples, when it is
    /// done. After the last row the next one is the first of another picture.
    template <typename Give>
    void take(const Sample *row, const Give &give)
    {
        rows.next([&](int part) { add(row, part); },
                  [&] {
                      finishRow();
                      give(smaller.data());
                  });
    }

private:
    static constexpr bool isDeep = sizeof(Sample) > 1;
    using Sum = std::conditional_t<isDeep, double, qint32>; ///< which holds a million rows of a million parts
    using WholeSum = std::conditional_t<isDeep, quint32, quint16>;
    using PixelSum = std::conditional_t<(sizeof(Mean) > 1), quint64, quint32>;
    static constexpr int parts = 1 << (8 * (sizeof(Mean) - sizeof(Sample))); ///< of a sample, in its mean
    static constexpr int mostWholeRows =
        std::numeric_limits<WholeSum>::max() / std::numeric_limits<Sample>::max();

    void add(const Sample *row, int part)
    {
        if (part < to.height()) {
            for (size_t i = 0; i < sums.size(); ++i)
                sums[i] += static_cast<Sum>(part) * static_cast<Sum>(row[i]);
            return;
        }
        for (size_t i = 0; i < sums.size(); ++i)
            wholeRows[i] = static_cast<WholeSum>(wholeRows[i] + row[i]);
        if (++wholeCount == mostWholeRows)
            addWholeRows();
    }

    void addWholeRows()
    {
        for (size_t i = 0; i < sums.size(); ++i)
            sums[i] += static_cast<Sum>(to.height()) * static_cast<Sum>(wholeRows[i]);
        std::fill(wholeRows.begin(), wholeRows.end(), 0);
        wholeCount = 0;
    }

    void finishRow()
    {
        addWholeRows();
        // Numbers as small as these are divided exactly, several at a time.
        for (Sum &sum : sums)
            sum = static_cast<qint32>(static_cast<double>(sum) * parts / from.height());
        Filling columns(to.width(), from.width());
        std::array<PixelSum, mostChannels> pixel{}; // which the compiler keeps at hand
        const size_t count = channels;
        const Sum *sum = sums.data();
        Mean *mean = smaller.data();
        for (int x = 0; x < from.width(); ++x, sum += count) {
            columns.next(
                [&](int part) {
                    for (size_t i = 0; i < count; ++i)
                        pixel[i] += static_cast<PixelSum>(part) * static_cast<PixelSum>(sum[i]);
                },
                [&] {
                    for (size_t i = 0; i < count; ++i)
                        *mean++ = static_cast<Mean>(pixel[i] / static_cast<PixelSum>(from.width()));
                    pixel = {};
                });
        }
        std::fill(sums.begin(), sums.end(), 0);
    }

    const QSize from;
    const QSize to;
    const size_t channels;
    Filling rows;
    std::vector<Sum> sums;           ///< of each column, times their parts of the row in hand
    std::vector<WholeSum> wholeRows; ///< the same of rows that lie in it as a whole, as they are
    int wholeCount = 0;
    std::vector<Mean> smaller;
};
