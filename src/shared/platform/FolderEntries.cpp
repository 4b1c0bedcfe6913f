#include "shared/platform/FolderEntries.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>
#include <type_traits>

namespace {

using Path = std::filesystem::path;

/// The name as Qt writes it; empty if it cannot be told in a QString.
QString nameOf(const Path &path)
{
    const Path::string_type name = path.filename().native();
    if constexpr (std::is_same_v<Path::value_type, wchar_t>) {
        return QString::fromWCharArray(reinterpret_cast<const wchar_t *>(name.c_str()));
    } else {
        const QByteArray bytes(reinterpret_cast<const char *>(name.c_str()));
        const QString decoded = QFile::decodeName(bytes);
        // What is no UTF-8 is decoded to this letter, which a name may have by itself.
        const bool isExact =
            !decoded.contains(QChar::ReplacementCharacter) || QFile::encodeName(decoded) == bytes;
        return isExact ? decoded : QString();
    }
}

/// True for an error by which the system says what the folder is; by others it cannot tell, as of a drive
/// that has failed.
bool isAnswer(const std::error_code &error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory
           || error == std::errc::permission_denied;
}

bool isDigit(QChar letter)
{
    return letter >= u'0' && letter <= u'9';
}

/// The number that begins at `at`, without zeros before it; `at` is behind it then.
QStringView takeNumber(QStringView text, qsizetype &at)
{
    while (at < text.size() && text[at] == u'0')
        ++at;
    const qsizetype first = at;
    while (at < text.size() && isDigit(text[at]))
        ++at;
    return text.mid(first, at - first);
}

/// Below, at or above 0 as the names stand, with numbers as numbers.
qsizetype compareNatural(QStringView a, QStringView b)
{
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            const QStringView one = takeNumber(a, i);
            const QStringView other = takeNumber(b, j);
            if (one.size() != other.size())
                return one.size() - other.size();
            if (const int order = one.compare(other))
                return order;
        } else if (a[i] != b[j]) {
            return a[i] < b[j] ? -1 : 1;
        } else {
            ++i;
            ++j;
        }
    }
    return (a.size() - i) - (b.size() - j);
}

} // namespace

FolderListing folderEntries(const QString &folder, const std::function<bool()> &isStopped)
{
    FolderListing listing;
    std::error_code error;
    // The kind of most entries comes with their name; only links are looked at one by one.
    for (std::filesystem::directory_iterator entry(QFileInfo(folder).filesystemFilePath(), error), end;
         !error && entry != end && !isStopped(); entry.increment(error)) {
        std::error_code unknown; // what cannot be looked at is no file
        const QString name = nameOf(entry->path());
        const bool isFolder = entry->is_directory(unknown);
        if (!name.isEmpty() && !name.startsWith(u'.') && (isFolder || entry->is_regular_file(unknown)))
            listing.entries.append({name, name.toCaseFolded(), isFolder, entry->is_symlink(unknown)});
    }
    listing.cutOff = error && !isAnswer(error);
    return listing;
}

bool comesBefore(const FolderEntry &a, const FolderEntry &b)
{
    const qsizetype order = compareNatural(a.folded, b.folded);
    return order != 0 ? order < 0 : a.name < b.name;
}
