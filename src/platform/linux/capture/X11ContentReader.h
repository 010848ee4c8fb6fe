#pragma once

#include "platform/ShareableContent.h"
#include "platform/linux/capture/ApplicationNames.h"
#include "platform/linux/capture/ProcessTable.h"

#include <QByteArray>
#include <QString>

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace quorvel::platform {

/// Reads windows and monitors over a connection of its own, which it opens when it is needed and again when it broke.
/// It waits for the X server a few times in all, not for every window. One thread at a time.
class X11ContentReader
{
public:
    [[nodiscard]] Result<ShareableContent> read(bool excludingDesktopWindows, bool onScreenWindowsOnly);

private:
    struct Atoms
    {
        xcb_atom_t clientList = XCB_NONE;
        xcb_atom_t windowName = XCB_NONE;
        xcb_atom_t windowState = XCB_NONE;
        xcb_atom_t stateHidden = XCB_NONE;
        xcb_atom_t windowType = XCB_NONE;
        xcb_atom_t typeDesktop = XCB_NONE;
        xcb_atom_t processId = XCB_NONE;
        xcb_atom_t utf8String = XCB_NONE;
    };
    struct Property
    {
        xcb_atom_t type = XCB_NONE;
        QByteArray bytes;
    };
    struct PendingWindow;
    struct Disconnect
    {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    [[nodiscard]] bool connect();
    void internAtoms();
    [[nodiscard]] std::vector<xcb_window_t> clientList();
    [[nodiscard]] std::vector<std::shared_ptr<const ShareableDisplay>> displays();

    [[nodiscard]] xcb_get_property_cookie_t ask(xcb_window_t window, xcb_atom_t property);
    [[nodiscard]] std::optional<Property> take(xcb_get_property_cookie_t cookie);
    [[nodiscard]] std::vector<std::uint32_t> takeNumbers(xcb_get_property_cookie_t cookie);
    [[nodiscard]] std::optional<QString> takeTitle(const PendingWindow& pending);
    [[nodiscard]] std::int64_t takeProcess(const PendingWindow& pending);

    [[nodiscard]] PendingWindow ask(xcb_window_t window);
    /// Nothing when the window is gone or is not wanted.
    [[nodiscard]] std::shared_ptr<const ShareableWindow> take(const PendingWindow& pending,
                                                              const ApplicationNames& names,
                                                              bool excludingDesktopWindows, bool onScreenWindowsOnly);

    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    xcb_window_t m_root = XCB_NONE;
    Atoms m_atoms;
    ProcessTable m_processes;
};

} // namespace quorvel::platform
