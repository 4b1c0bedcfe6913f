#include "slideshow/SlideshowOptions.h"

#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"

void SlideshowOptions::load()
{
    const QSettings store = programSettings();
    VistamoGlobal::bkColor = SlideshowSettings::bkColor.read(store);
    VistamoGlobal::delay = SlideshowSettings::delay.read(store);
    VistamoGlobal::showCountdown = SlideshowSettings::showCountdown.read(store);
}
