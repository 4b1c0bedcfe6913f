#include "shared/platform/FolderEntries.h"

namespace {

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

bool comesBefore(const FolderEntry &a, const FolderEntry &b)
{
    const qsizetype order = compareNatural(a.folded, b.folded);
    return order != 0 ? order < 0 : a.name < b.name;
}
