#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"

void VistamoGlobal::loadOptions()
{
    QSettings settings = programSettings();
    settings.beginGroup(QStringLiteral("Options"));
    const QString colour = settings.value(QStringLiteral("bkColor")).toString();
    bkColor = colour.isEmpty() ? QColor(Qt::black) : QColor::fromString(colour);
    delay = settings.value(QStringLiteral("delay"), 5).toInt();
    showCountdown = settings.value(QStringLiteral("showCountdown"), true).toBool();
}
