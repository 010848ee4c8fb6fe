#pragma once

#include <QAbstractNativeEventFilter>

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>

namespace quorvel::platform {

/// Whether the desktop blends translucent windows. Compositors come and go while a program runs.
class Compositor final : public QAbstractNativeEventFilter
{
public:
    /// `changed` is called on the main thread when a compositor has come or gone.
    explicit Compositor(std::function<void()> changed);

    [[nodiscard]] bool isRunning() const { return m_isRunning; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    [[nodiscard]] bool hasOwner() const;

    std::function<void()> m_changed;
    /// The selection that a compositor owns.
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    std::uint8_t m_firstFixesEvent = 0;
    bool m_isRunning = false;
};

} // namespace quorvel::platform
