#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"

void VistamoGlobal::loadOptions()
{
    const QSettings store = programSettings();
    bkColor = SlideshowSettings::bkColor.read(store);
    delay = SlideshowSettings::delay.read(store);
    showCountdown = SlideshowSettings::showCountdown.read(store);
}
