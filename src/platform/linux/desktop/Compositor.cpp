#include "platform/linux/desktop/Compositor.h"

#include "platform/linux/desktop/X11.h"

#include <QCoreApplication>

#include <xcb/xfixes.h>

#include <utility>

namespace quorvel::platform {

Compositor::Compositor(std::function<void()> changed)
    : m_changed(std::move(changed))
{
    xcb_connection_t* const connection = x11::connection();
    if (connection == nullptr) {
        m_isRunning = true; // Every other window system blends.
        return;
    }
    m_selection = x11::atom(connection, "_NET_WM_CM_S0");
    const xcb_query_extension_reply_t* const fixes = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (fixes != nullptr && fixes->present != 0) {
        m_firstFixesEvent = fixes->first_event;
        xcb_xfixes_select_selection_input(connection, x11::rootWindow(connection), m_selection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    m_isRunning = hasOwner();
}

bool Compositor::nativeEventFilter(const QByteArray& /*eventType*/, void* message, qintptr* /*result*/)
{
    const auto* const event = static_cast<xcb_generic_event_t*>(message);
    if (x11::eventType(*event) == m_firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY) {
        const auto* const notice = static_cast<xcb_xfixes_selection_notify_event_t*>(message);
        const bool isRunning = notice->owner != XCB_NONE;
        if (notice->selection == m_selection && isRunning != m_isRunning) {
            m_isRunning = isRunning;
            m_changed();
        }
    }
    return false;
}

bool Compositor::hasOwner() const
{
    xcb_connection_t* const connection = x11::connection();
    const x11::Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, m_selection), nullptr));
    return reply && reply->owner != XCB_NONE;
}

} // namespace quorvel::platform
