#pragma once

#include "support/Tools.h"

#include <QtDBus>

#include <unistd.h>

/// Stands for the service that knows the profiles of screens, on a system bus of the test's own. Made before
/// anything of the process connects to that bus.
class FakeColord : public QDBusVirtualObject
{
public:
    FakeColord()
    {
        daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address", "--address=" + address});
        static_cast<void>(daemon.waitForStarted() && daemon.waitForReadyRead());
    }
    ~FakeColord() override
    {
        daemon.kill();
        daemon.waitForFinished();
    }

    /// False if there is no bus to be on.
    bool start()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(address, "colord");
        return bus.registerVirtualObject(root, this, QDBusConnection::SubPath)
               && bus.registerService(interface);
    }
    /// Names a profile for the screen of that name from now on, and says so.
    void name(const QString &ofScreen, const QString &ofFile)
    {
        screen = ofScreen;
        file = ofFile;
        tell();
    }
    void tell()
    {
        QDBusMessage signal = QDBusMessage::createSignal(root, interface, "DeviceChanged");
        signal.setArguments({QVariant::fromValue(QDBusObjectPath(root + "/device"))});
        QDBusConnection("colord").send(signal);
    }

    bool hangs = false;
    int asked = 0;

private:
    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &bus) override
    {
        ++asked;
        const QVariantList arguments = call.arguments();
        const auto isAsked = [&](const QString &path, const QVariantList &what) {
            return call.path() == path && arguments == what;
        };
        if (hangs)
            call.setDelayedReply(true);
        else if (isAsked(root, {"XRANDR_name", screen}) && call.member() == "FindDeviceByProperty")
            bus.send(call.createReply(QVariant::fromValue(QDBusObjectPath(root + "/device"))));
        else if (isAsked(root + "/device", {interface + ".Device", "Profiles"}))
            bus.send(
                call.createReply(variant(QVariant::fromValue(QList{QDBusObjectPath(root + "/profile")}))));
        else if (isAsked(root + "/profile", {interface + ".Profile", "Filename"}))
            bus.send(call.createReply(variant(file)));
        else
            bus.send(call.createErrorReply(QDBusError::InvalidArgs, "no such thing"));
        return true;
    }
    static QVariant variant(const QVariant &value) { return QVariant::fromValue(QDBusVariant(value)); }

    const QString interface = "org.freedesktop.ColorManager";
    const QString root = "/org/freedesktop/ColorManager";
    QProcess daemon;
    // The addresses of all busses are read with the first of them, by the application itself from Qt 6.8 on.
    inline static const QString address = [] {
        const QString own = QStringLiteral("unix:abstract=orrelan-test-%1").arg(getpid());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", own.toLatin1());
        return own;
    }();
    QString screen;
    QString file;
};
