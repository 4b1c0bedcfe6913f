#pragma once

#include <QFileInfo>

#include <deque>
#include <optional>
#include <vector>

/// A file whose thumbnail is wanted, and its row in the list.
struct TThumbnailRequest
{
    QFileInfo info;
    int row = 0;
};

/// The requests of one load in the order in which they are served: it follows the user's scrolling.
///
/// From the top as long as nothing was scrolled; after a scroll from 40 rows ahead of the row at the same
/// proportion of the list onward, stepping back 50 places after every 101 so that the rows just above the
/// screen fill in as well; at the end of the queue, backwards from the end. Not thread-safe.
class ThumbnailRequestQueue
{
public:
    /// Adds a request at the end. Rows come in ascending order; those that come again, since files have left
    /// the list, count as the last.
    void append(TThumbnailRequest request);

    /// Takes the next request, or nothing if the queue is empty.
    /// @param scrollRatio position of the list's scroll bar, value / maximum; no number for an unmoved list
    /// @param fileCount   files in the list by now
    [[nodiscard]] std::optional<TThumbnailRequest> takeNext(float scrollRatio, int fileCount);

    [[nodiscard]] bool isEmpty() const { return size() == 0; }
    [[nodiscard]] size_t size() const { return before.size() + after.size(); }

private:
    void follow(float scrollRatio, int fileCount);
    void moveCursorTo(size_t position);
    [[nodiscard]] const TThumbnailRequest &at(size_t position) const;
    [[nodiscard]] TThumbnailRequest takeAt(size_t position);
    [[nodiscard]] TThumbnailRequest takeLast();

    // The queue in two parts that meet at the last place of removal, so that removing there costs nothing
    // however long the queue is.
    std::vector<TThumbnailRequest> before;
    std::deque<TThumbnailRequest> after;

    size_t requestIndex = 0; ///< position of the next request
    int served = 0;          ///< taken at the scroll position since the last step back
    float lastScrollRatio = 0;
};
