#pragma once

#include <QImage>
#include <QPixmap>
#include <QSize>

#include <future>

/// A smaller copy of a large picture, made in the background, so that a view much smaller than the picture
/// does not cost a pass over all of its pixels. GUI thread.
class ReducedPicture
{
public:
    /// Starts making the copy of `full`, unless there is one or the picture is not large.
    void want(const QPixmap &full);

    /// The copy, if it is ready and has enough pixels for a view of `device` pixels of the screen; else
    /// `full`.
    [[nodiscard]] const QPixmap &enoughFor(const QPixmap &full, QSize device);

private:
    qint64 key = 0; ///< of the picture that the copy is made from
    std::future<QImage> making;
    QPixmap copy;
};
