#include "shared/image/ColourScreens.h"

#include "shared/platform/Platform.h"

#include <QGuiApplication>
#include <QScreen>
#include <QThreadPool>
#include <QWindow>

Colour::Screens &Colour::Screens::all()
{
    static Screens screens;
    return screens;
}

void Colour::Screens::follow(QWindow &shown)
{
    window = &shown;
    connect(window, &QWindow::screenChanged, this, &Screens::changed, Qt::UniqueConnection);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &Screens::read, Qt::UniqueConnection);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &Screens::read, Qt::UniqueConnection);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &Screens::read, Qt::UniqueConnection);
    read();
}

void Colour::Screens::read()
{
    const QString platform = QGuiApplication::platformName();
    if (platform != QLatin1String("xcb") && platform != QLatin1String("windows"))
        return;
    QHash<const QScreen *, QPoint> corners;
    for (const QScreen *screen : QGuiApplication::screens())
        corners.insert(screen, screen->geometry().topLeft());
    QThreadPool::globalInstance()->start([this, corners, before = known, number = ++lastRead] {
        QHash<const QScreen *, Known> found;
        for (auto place = corners.begin(); place != corners.end(); ++place) {
            const QByteArray profile = Platform::screenProfile(place.value());
            if (const Known old = before.value(place.key()); profile == old.profile && !profile.isEmpty())
                found.insert(place.key(), old);
            else if (!profile.isEmpty())
                found.insert(place.key(), {profile, ScreenTransform(profile)});
        }
        QMetaObject::invokeMethod(this, [this, found, number] {
            if (number != lastRead || found == known)
                return;
            known = found;
            emit changed();
        });
    });
}

const QScreen *Colour::Screens::iconScreen() const
{
    return window ? window->screen() : QGuiApplication::primaryScreen();
}

bool Colour::Screens::changes(const QScreen *screen) const
{
    return known.value(screen).transform.isNeeded();
}

QImage Colour::Screens::shown(const QImage &image, const QScreen *screen) const
{
    return known.value(screen).transform.applied(image);
}
