#include "shared/platform/Colord.h"
#include "shared/platform/Platform.h"

#include <QByteArray>
#include <QGuiApplication>
#include <QPoint>

#include <xcb/xcb.h>
#include <xcb/xinerama.h>

#include <cstdlib>
#include <memory>

namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply *reply)
{
    return {reply, std::free};
}

/// The screen's number for Xinerama; that of the first if there is no such extension, -1 for an unknown one.
int xineramaNumber(xcb_connection_t *connection, QPoint corner)
{
    const auto *const extension = xcb_get_extension_data(connection, &xcb_xinerama_id);
    if (!extension || !extension->present)
        return 0;
    const auto reply =
        owned(xcb_xinerama_query_screens_reply(connection, xcb_xinerama_query_screens(connection), nullptr));
    if (!reply)
        return 0;
    auto screens = xcb_xinerama_query_screens_screen_info_iterator(reply.get());
    for (int number = 0; screens.rem > 0; ++number, xcb_xinerama_screen_info_next(&screens))
        if (QPoint(screens.data->x_org, screens.data->y_org) == corner)
            return number;
    return -1;
}

/// The property that "ICC Profiles in X Specification" 0.4 puts on the root window for each screen.
QByteArray rootWindowsProfile(QPoint corner)
{
    constexpr uint32_t mostWords = 4 << 20;
    int number = 0;
    // A connection of its own, so that it may wait while the program goes on.
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> owner(xcb_connect(nullptr, &number),
                                                                             xcb_disconnect);
    xcb_connection_t *const connection = owner.get();
    if (xcb_connection_has_error(connection) != 0)
        return {};
    auto roots = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number-- > 0 && roots.rem > 1)
        xcb_screen_next(&roots);
    const int index = xineramaNumber(connection, corner);
    const QByteArray name = "_ICC_PROFILE" + (index > 0 ? '_' + QByteArray::number(index) : QByteArray());
    const auto atom = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, static_cast<uint16_t>(name.size()), name.constData()),
        nullptr));
    if (index < 0 || !atom || atom->atom == XCB_ATOM_NONE || roots.rem < 1)
        return {};
    const auto property =
        owned(xcb_get_property_reply(connection,
                                     xcb_get_property(connection, 0, roots.data->root, atom->atom,
                                                      XCB_GET_PROPERTY_TYPE_ANY, 0, mostWords),
                                     nullptr));
    if (!property || property->format != 8)
        return {};
    return QByteArray(static_cast<const char *>(xcb_get_property_value(property.get())),
                      xcb_get_property_value_length(property.get()));
}

} // namespace

QByteArray Platform::screenProfile(QPoint corner, const QString &name)
{
    const bool isOfX11 = QGuiApplication::platformName() == QLatin1String("xcb"); // Wayland has one beside it
    const QByteArray profile = isOfX11 ? rootWindowsProfile(corner) : QByteArray();
    return profile.isEmpty() ? Colord::screenProfile(name) : profile;
}

void Platform::followScreenProfiles(QObject &receiver, const char *slot)
{
    Colord::follow(receiver, slot);
}
