#include "shared/platform/Platform.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUuid>

namespace {

/// A wish that the screen stays on, told to the desktop. It ends with the connection that told it.
class Wakefulness : public QObject
{
public:
    Wakefulness()
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("/org/freedesktop/ScreenSaver"),
            QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("Inhibit"));
        call.setArguments({QCoreApplication::applicationName(), reason});
        auto *const answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
            if (answer->isError())
                askPortal();
        });
    }
    ~Wakefulness() override { QDBusConnection::disconnectFromBus(bus.name()); }
    Q_DISABLE_COPY_MOVE(Wakefulness)

private:
    /// The way of programs in a sandbox.
    void askPortal()
    {
        constexpr uint idle = 8;
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.portal.Desktop"),
                                                           QStringLiteral("/org/freedesktop/portal/desktop"),
                                                           QStringLiteral("org.freedesktop.portal.Inhibit"),
                                                           QStringLiteral("Inhibit"));
        call.setArguments({QString(), idle, QVariantMap{{QStringLiteral("reason"), reason}}});
        bus.asyncCall(call);
    }

    const QString reason = QStringLiteral("Slideshow");
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                                        QUuid::createUuid().toString(QUuid::WithoutBraces));
};

} // namespace

std::shared_ptr<void> Platform::keepScreenAwake()
{
    return std::make_shared<Wakefulness>();
}
