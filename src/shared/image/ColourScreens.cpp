#include "shared/image/ColourScreens.h"

#include "shared/platform/Platform.h"

#include <QGuiApplication>
#include <QScreen>
#include <QThreadPool>

Colour::Screens &Colour::Screens::all()
{
    static Screens screens;
    return screens;
}

void Colour::Screens::read()
{
    const QString platform = QGuiApplication::platformName();
    if (platform != QLatin1String("xcb") && platform != QLatin1String("windows"))
        return;
    QStringList names;
    for (const QScreen *screen : QGuiApplication::screens())
        names.append(screen->name());
    QThreadPool::globalInstance()->start([this, names] {
        QList<ScreenTransform> found;
        for (int i = 0; i < names.size(); ++i)
            found.append(ScreenTransform(Platform::screenProfile(i, names[i])));
        QMetaObject::invokeMethod(this, [this, found] {
            transforms = found;
            emit changed();
        });
    });
}

bool Colour::Screens::changes(const QScreen *screen) const
{
    return transforms.value(QGuiApplication::screens().indexOf(screen)).isNeeded();
}

QImage Colour::Screens::shown(const QImage &image, const QScreen *screen) const
{
    return transforms.value(QGuiApplication::screens().indexOf(screen)).applied(image);
}
