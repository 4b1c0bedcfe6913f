#include "shared/platform/PathIdentity.h"

#include <QDir>
#include <QFileInfo>

namespace {

/// Where a path leads, through links; of a file that is not there, where it would stand.
QString resolved(const QString &path)
{
    const QFileInfo info(path);
    if (const QString canonical = info.canonicalFilePath(); !canonical.isEmpty())
        return canonical;
    const QFileInfo target(info.isSymLink() ? info.symLinkTarget() : path);
    return QFileInfo(target.path()).canonicalFilePath() + QLatin1Char('/') + target.fileName();
}

} // namespace

QString pathKey(PathRule rule, const QString &path)
{
    switch (rule) {
    case PathRule::Exact:
        break;
    case PathRule::Caseless:
        return path.toCaseFolded();
    case PathRule::NativeCaseless:
        return QDir::toNativeSeparators(path).toCaseFolded();
    case PathRule::NativeLowerCase:
        return QDir::toNativeSeparators(path).toLower();
    case PathRule::ResolvedCaseless:
        return resolved(path).toCaseFolded();
    }
    return path;
}

bool isOneDespiteCase(const QString &a, const QString &b)
{
    return QDir::toNativeSeparators(a) == QDir::toNativeSeparators(b)
           || (NativeCaselessPath(a) == NativeCaselessPath(b)
               && (isOneFile(a, b) || (!QFileInfo::exists(a) && !QFileInfo::exists(b))));
}
