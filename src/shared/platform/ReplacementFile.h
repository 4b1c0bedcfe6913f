#pragma once

#include <QDateTime>
#include <QFile>
#include <QString>

#include <functional>

class HeldFiles;

/// A new file that takes the place of its target in one step, or not at all.
///
/// It is written without a name, or where the system does not know that, under a hidden temporary one beside
/// the target, which stands as it is until `commit`. Of a program that was killed a file named
/// `.orrelan-*.tmp` may stay. It is never taken for a picture, and goes when it is a day old and something is
/// written beside it.
class ReplacementFile : public QFile
{
    Q_OBJECT

public:
    /// What becomes of a target that is a link.
    enum class Link
    {
        Follow, ///< what it points to is replaced
        Replace ///< the link itself is
    };

    /// Whether the new file can be seen in its folder from the start.
    enum class Name
    {
        None,  ///< not where the system can do without
        Hidden ///< under a hidden name
    };

    /// @param heldFiles outlives it
    ReplacementFile(const QString &target, HeldFiles &heldFiles, Link link = Link::Follow);

    /// Drops the new file unless it was committed.
    ~ReplacementFile() override;

    /// Opens the new file for writing and reading; while it may stand for a private one, it is open to the
    /// user alone. False if the target is not a file or has a name that no new one can have, if the folder
    /// takes no new one, or, where links are followed, if the target may not be written.
    [[nodiscard]] bool create(Name name = Name::None);

    /// Calls `progress` each time that a few megabytes more have arrived on the disk, which are then flushed
    /// as they come: so a slow drive can be told from one that hangs.
    void setProgress(const std::function<void()> &progress) { this->progress = progress; }

    /// Gives the new file the permissions of another one, its extended attributes and its access list.
    void takeAttributes(const QString &file);

    /// Closes the new file and puts it in the target's place; where links are followed, with the old file's
    /// permissions. False if anything that was written did not arrive on the disk; the target is then as it
    /// was.
    [[nodiscard]] bool commit();

    /// Puts what stands at a path elsewhere. False if that failed.
    using MakeWay = std::function<bool(const QString &target)>;

    /// The same, but only where nothing stands in the target's place, or as soon as `makeWay` has put it
    /// elsewhere.
    [[nodiscard]] bool commitAsNew(const MakeWay &makeWay = {});

    /// Removes what killed programs have left in a folder more than a day before `now`, but nothing that one
    /// still writes.
    static void sweep(const QString &folder, const QDateTime &now);

protected:
    qint64 writeData(const char *data, qint64 length) override;

private:
    [[nodiscard]] bool openUnnamed(const QString &folder, bool forUserAlone);
    void drop();
    [[nodiscard]] bool finish(const std::function<bool()> &takePlace);

    const QString target;
    HeldFiles &heldFiles;
    const Link link;
    bool writeFailed = false;
    std::function<void()> progress;
    qint64 unflushed = 0; ///< bytes, where progress is told
};
