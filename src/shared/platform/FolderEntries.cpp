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

/// The letter that begins at `at`, without its case; `at` is behind it then.
char32_t takeFolded(QStringView text, qsizetype &at)
{
    const QChar unit = text[at++];
    if (unit < u'\x80')
        return unit >= u'A' && unit <= u'Z' ? unit.unicode() | 0x20 : unit.unicode();
    const bool isPair = unit.isHighSurrogate() && at < text.size() && text[at].isLowSurrogate();
    return QChar::toCaseFolded(isPair ? QChar::surrogateToUcs4(unit, text[at++]) : char32_t(unit.unicode()));
}

/// Below, at or above 0 as the names stand, case ignored, with numbers as numbers.
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
        } else {
            const char32_t one = takeFolded(a, i);
            const char32_t other = takeFolded(b, j);
            if (one != other)
                return one < other ? -1 : 1;
        }
    }
    return (a.size() - i) - (b.size() - j);
}

} // namespace

bool nameComesBefore(QStringView a, QStringView b)
{
    const qsizetype order = compareNatural(a, b);
    return order != 0 ? order < 0 : a < b;
}

bool comesBefore(const FolderEntry &a, const FolderEntry &b)
{
    return nameComesBefore(a.name, b.name);
}
