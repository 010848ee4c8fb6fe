#pragma once

#include "overlay/OverlayHost.h"
#include "overlay/OverlaySettings.h"
#include "platform/KeyMonitor.h"
#include "platform/MainThread.h"
#include "platform/Panel.h"

#include <QRectF>

#include <memory>
#include <vector>

namespace quorvel {

/// Owns the floating panel with the current suggestion and its keyboard shortcuts. Never keeps its host alive.
/// Main thread.
class OverlayWindowController final : public std::enable_shared_from_this<OverlayWindowController>
{
public:
    OverlayWindowController(std::weak_ptr<OverlayHost> host, std::shared_ptr<platform::ScreenProvider> screens,
                            std::shared_ptr<platform::PanelProvider> panels,
                            std::shared_ptr<platform::KeyMonitorProvider> keyMonitors,
                            std::shared_ptr<platform::MainThread> mainThread);

    /// Makes the panel on first use, with its hotkeys, and applies the current settings.
    void show();
    /// Sets frame, alpha, click-through and visibility; without a panel it does nothing.
    void applySettings(const OverlaySettings& settings);
    /// Shows or hides the panel, if there is one, and changes nothing else of it.
    void setPanelVisible(bool visible);

    /// Carries out one of the shortcuts; any other key does nothing.
    void handleHotkey(platform::KeyDownEvent event);

    /// The panel's frame in `area`, both in bottom-up coordinates.
    [[nodiscard]] static QRectF panelFrame(const QRectF& area, const OverlaySettings& settings);

private:
    void makePanel(OverlayHost& host);
    void installHotkeys();
    void followScreens();
    [[nodiscard]] QRectF panelFrame(const OverlaySettings& settings) const;

    std::weak_ptr<OverlayHost> m_host;
    std::shared_ptr<platform::ScreenProvider> m_screens;
    std::shared_ptr<platform::PanelProvider> m_panels;
    std::shared_ptr<platform::KeyMonitorProvider> m_keyMonitors;
    std::shared_ptr<platform::MainThread> m_mainThread;
    std::unique_ptr<platform::Panel> m_panel;
    /// What the panel shows now; the host's own may hold edits that are not applied yet.
    OverlaySettings m_appliedSettings;
    std::vector<std::unique_ptr<platform::KeyMonitor>> m_monitors;
};

} // namespace quorvel
