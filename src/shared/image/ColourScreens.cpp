#include "shared/image/ColourScreens.h"

#include "shared/platform/Platform.h"
#include "shared/threads/Background.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <utility>

namespace {

/// False where pictures are painted for tests alone.
bool isOnScreen()
{
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("xcb") || platform.startsWith(QLatin1String("wayland"))
           || platform == QLatin1String("windows");
}

} // namespace

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
    if (isOnScreen() && !std::exchange(isFollowing, true))
        Background::run([this] { Platform::followScreenProfiles(*this, SLOT(read())); });
}

void Colour::Screens::read()
{
    if (!isOnScreen())
        return;
    struct Asked
    {
        const QScreen *screen;
        QPoint corner;
        QString name;
    };
    QList<Asked> all;
    for (const QScreen *screen : QGuiApplication::screens())
        all.append({screen, screen->geometry().topLeft(), screen->name()});
    Background::run([this, all, before = known, number = ++lastRead] {
        QHash<const QScreen *, Known> found;
        for (const Asked &asked : all) {
            const QByteArray profile = Platform::screenProfile(asked.corner, asked.name);
            if (const Known old = before.value(asked.screen); profile == old.profile && !profile.isEmpty())
                found.insert(asked.screen, old);
            else if (!profile.isEmpty())
                found.insert(asked.screen, {profile, ScreenTransform(profile)});
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
