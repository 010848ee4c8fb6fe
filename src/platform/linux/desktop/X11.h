#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace quorvel::platform::x11 {

struct Free
{
    void operator()(void* reply) const { std::free(reply); }
};

/// A reply, which its receiver frees.
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/// The toolkit's own connection, so that our requests and events keep their order among its own; null on a desktop
/// without X.
[[nodiscard]] xcb_connection_t* connection();

/// The root window of the main screen.
[[nodiscard]] xcb_window_t rootWindow(xcb_connection_t* connection);

[[nodiscard]] xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name);

/// Replaces a window's property by a list of 32-bit values.
void setProperty(xcb_connection_t* connection, xcb_window_t window, const QByteArray& name, xcb_atom_t type,
                 std::span<const std::uint32_t> values);

/// Asks the window manager to do something about one of our windows, flushed at once.
void sendToWindowManager(xcb_connection_t* connection, xcb_window_t window, const QByteArray& request,
                         std::uint32_t argument);

/// The event without the mark of having been sent by a client.
[[nodiscard]] inline std::uint8_t eventType(const xcb_generic_event_t& event)
{
    return event.response_type & 0x7FU;
}

} // namespace quorvel::platform::x11
