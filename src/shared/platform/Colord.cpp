#include "shared/platform/Colord.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QThreadPool>

#include <algorithm>

namespace {

constexpr qint64 mostBytes = 16 << 20;
constexpr int longestWaitMs = 1000;

const QString service = QStringLiteral("org.freedesktop.ColorManager");

/// What the service answers to one question after the other; null if it has nothing to say, or no time left.
class Questions
{
public:
    QVariant ask(const QString &path, const QString &interface, const QString &method,
                 const QVariantList &arguments) const
    {
        QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
        call.setArguments(arguments);
        const int left = static_cast<int>(std::max<qint64>(deadline.remainingTime(), 1));
        const QDBusMessage reply = QDBusConnection::systemBus().call(call, QDBus::Block, left);
        return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0) : QVariant();
    }

    QVariant property(const QString &path, const QString &kind, const QString &name) const
    {
        const QVariant answer = ask(path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                    QStringLiteral("Get"), {service + '.' + kind, name});
        return answer.value<QDBusVariant>().variant();
    }

private:
    const QDeadlineTimer deadline{longestWaitMs};
};

/// The file of a screen's profile, the first of those that were chosen for it.
QString profileFile(const QString &screen)
{
    const Questions questions;
    const QVariant device =
        questions.ask(QStringLiteral("/org/freedesktop/ColorManager"), service,
                      QStringLiteral("FindDeviceByProperty"), {QStringLiteral("XRANDR_name"), screen});
    const QString devicePath = device.value<QDBusObjectPath>().path();
    if (devicePath.isEmpty())
        return {};
    const auto profiles = questions.property(devicePath, QStringLiteral("Device"), QStringLiteral("Profiles"))
                              .value<QDBusArgument>();
    if (profiles.currentSignature() != QLatin1String("ao"))
        return {};
    const QString profilePath = qdbus_cast<QList<QDBusObjectPath>>(profiles).value(0).path();
    if (profilePath.isEmpty())
        return {};
    return questions.property(profilePath, QStringLiteral("Profile"), QStringLiteral("Filename")).toString();
}

} // namespace

QByteArray Colord::screenProfile(const QString &screen)
{
    QThreadPool::globalInstance()->releaseThread(); // others work while this one waits
    QFile file(profileFile(screen));
    QThreadPool::globalInstance()->reserveThread();
    return QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly) ? file.read(mostBytes) : QByteArray();
}

void Colord::follow(QObject &receiver, const char *slot)
{
    for (const char *const signal : {"Changed", "DeviceAdded", "DeviceChanged", "DeviceRemoved"})
        QDBusConnection::systemBus().connect(service, {}, service, QLatin1String(signal), &receiver, slot);
}
