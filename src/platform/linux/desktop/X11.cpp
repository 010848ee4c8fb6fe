#include "platform/linux/desktop/X11.h"

#include <QGuiApplication>

#include <array>
#include <bit>

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

void sendToWindowManager(xcb_connection_t* connection, xcb_window_t window, const QByteArray& request,
                         std::uint32_t argument)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(connection, request);
    event.data.data32[0] = argument;
    const auto bytes = std::bit_cast<std::array<char, sizeof event>>(event);
    xcb_send_event(connection, 0, rootWindow(connection),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT, bytes.data());
    xcb_flush(connection);
}

} // namespace quorvel::platform::x11
