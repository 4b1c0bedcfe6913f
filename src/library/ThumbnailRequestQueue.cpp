#include "library/ThumbnailRequestQueue.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Tuning of the order of service.
constexpr double leadInRows = 40.0;
constexpr int servedBeforeStepBack = 100;
constexpr size_t stepBack = 50;

} // namespace

void ThumbnailRequestQueue::append(TThumbnailRequest request)
{
    if (!isEmpty())
        request.row = std::max(request.row, at(size() - 1).row);
    after.push_back(std::move(request));
}

std::optional<TThumbnailRequest> ThumbnailRequestQueue::takeNext(float scrollRatio, int fileCount)
{
    if (isEmpty())
        return std::nullopt;
    follow(scrollRatio, fileCount);

    std::optional<TThumbnailRequest> request;
    if (requestIndex == 0) {
        request = takeAt(0);
    } else if (requestIndex < size() - 1) {
        request = takeAt(requestIndex);
        ++served;
    } else {
        request = takeLast();
    }
    if (served > servedBeforeStepBack) {
        requestIndex -= std::min(requestIndex, stepBack);
        served = 0;
    }
    return request;
}

/// Moves the place of service after a scroll. A target at or above the top leaves it where it is.
void ThumbnailRequestQueue::follow(float scrollRatio, int fileCount)
{
    if (lastScrollRatio == scrollRatio)
        return;
    lastScrollRatio = scrollRatio;
    const double target = static_cast<float>(fileCount) * scrollRatio - leadInRows;
    if (!(target >= 1)) // also for no number
        return;
    const int targetRow = static_cast<int>(std::min(target, static_cast<double>(fileCount)));

    size_t first = 0;
    for (size_t count = size(); count > 0;) {
        const size_t half = count / 2;
        if (at(first + half).row < targetRow) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    if (first < size()) {
        requestIndex = first;
        served = 0;
    }
}

const TThumbnailRequest &ThumbnailRequestQueue::at(size_t position) const
{
    return position < before.size() ? before[position] : after[position - before.size()];
}

void ThumbnailRequestQueue::moveCursorTo(size_t position)
{
    while (before.size() > position) {
        after.push_front(std::move(before.back()));
        before.pop_back();
    }
    while (before.size() < position) {
        before.push_back(std::move(after.front()));
        after.pop_front();
    }
}

TThumbnailRequest ThumbnailRequestQueue::takeAt(size_t position)
{
    moveCursorTo(position);
    TThumbnailRequest request = std::move(after.front());
    after.pop_front();
    return request;
}

TThumbnailRequest ThumbnailRequestQueue::takeLast()
{
    const auto takeBack = [](auto &part) {
        TThumbnailRequest request = std::move(part.back());
        part.pop_back();
        return request;
    };
    return after.empty() ? takeBack(before) : takeBack(after);
}
