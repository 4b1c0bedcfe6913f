#pragma once

#include <QHash>
#include <QString>

/// What makes two paths one. No rule can replace another: each user has its own.
enum class PathRule
{
    Exact,
    Caseless,
    NativeCaseless,
    NativeLowerCase,
    ResolvedCaseless
};

/// The same text for all paths that are one by that rule.
[[nodiscard]] QString pathKey(PathRule rule, const QString &path);

/// A path as one rule sees it: to compare with others by that rule and no other, and to look up in sets.
template <PathRule rule>
class PathIdentity
{
public:
    explicit PathIdentity(const QString &path)
        : key(pathKey(rule, path))
    {
    }

    bool operator==(const PathIdentity &) const = default;
    friend size_t qHash(const PathIdentity &path, size_t seed = 0) { return qHash(path.key, seed); }

private:
    QString key;
};

/// Letter for letter.
using ExactPath = PathIdentity<PathRule::Exact>;
/// Whatever the case: what a watcher or the user's typing names.
using CaselessPath = PathIdentity<PathRule::Caseless>;
/// Whatever the case and the kind of the separators: the list of folders, the ticks.
using NativeCaselessPath = PathIdentity<PathRule::NativeCaseless>;
/// The same by lower case, where a few letters differ that are one without their case: the batch list.
using NativeLowerCasePath = PathIdentity<PathRule::NativeLowerCase>;
/// Whatever the case and the links on the way, also of a file that is not there yet: what is being written.
/// Looks at the disk.
using ResolvedCaselessPath = PathIdentity<PathRule::ResolvedCaseless>;

/// True if both lead to one file on the disk, by device and inode; false if either is not there.
[[nodiscard]] bool isOneFile(const QString &a, const QString &b);

/// True if two paths are one but for their case and the kind of their separators, and the disk does not tell
/// them apart: both lead to one file, or neither to any. Looks at the disk only where they differ.
[[nodiscard]] bool isOneDespiteCase(const QString &a, const QString &b);
