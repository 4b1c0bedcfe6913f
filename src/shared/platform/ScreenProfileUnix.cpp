#include "shared/platform/Platform.h"

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply *reply)
{
    return {reply, std::free};
}

} // namespace

/// The property that "ICC Profiles in X Specification" 0.4 puts on the root window for each screen.
QByteArray Platform::screenProfile(int index, const QString &)
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
    const QByteArray name = "_ICC_PROFILE" + (index > 0 ? '_' + QByteArray::number(index) : QByteArray());
    const auto atom = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, static_cast<uint16_t>(name.size()), name.constData()),
        nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE || roots.rem < 1)
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
