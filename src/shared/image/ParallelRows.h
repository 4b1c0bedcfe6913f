#pragma once

#include <QSize>
#include <QThread>

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

/// Calls `work(first, last)` for pieces of the rows of a picture, `last` excluded, on all processors, and
/// comes back when all are done. A small picture is done by the caller alone.
template <typename Work>
void parallelRows(QSize size, const Work &work)
{
    constexpr qint64 pixelsWorthAThread = 250'000;
    const qint64 pixels = qint64(size.width()) * size.height();
    const int parts = static_cast<int>(std::clamp<qint64>(
        std::min<qint64>(pixels / pixelsWorthAThread, QThread::idealThreadCount()), 1, size.height()));
    const auto firstRow = [&](int part) { return static_cast<int>(qint64(size.height()) * part / parts); };
    std::vector<std::thread> others;
    others.reserve(parts);
    for (int part = 1; part < parts; ++part) {
        try {
            others.emplace_back(work, firstRow(part), firstRow(part + 1));
        } catch (const std::system_error &) { // no more threads
            work(firstRow(part), firstRow(part + 1));
        }
    }
    work(0, firstRow(1));
    for (std::thread &other : others)
        other.join();
}
