#include "platform/linux/desktop/X11.h"

#include <QGuiApplication>

namespace quorvel::platform::x11 {

xcb_connection_t* connection()
{
    const auto* const application = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return application != nullptr ? application->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t* connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void setProperty(xcb_connection_t* connection, xcb_window_t window, const QByteArray& name, xcb_atom_t type,
                 std::span<const std::uint32_t> values)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, name), type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

} // namespace quorvel::platform::x11
