#include "shared/platform/NewFileName.h"

#include <QRegularExpression>

bool isNewFileName(const QString &name, FileNameRules rules)
{
    // https://learn.microsoft.com/windows/win32/fileio/naming-a-file
    static const QRegularExpression noneOnWindows(
        QStringLiteral("[\\x00-\\x1f\"*/:<>?\\\\|]|[. ]$"
                       "|^(con|prn|aux|nul|conin\\$|conout\\$|(com|lpt)[0-9\u00b9\u00b2\u00b3]) *(\\.|$)"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression noneOnUnix(QStringLiteral("[\\x00/]|^\\.{0,2}$"));
    return !noneOnUnix.match(name).hasMatch()
           && (rules != FileNameRules::Windows || !noneOnWindows.match(name).hasMatch());
}
