#include "overlay/OverlayWindowController.h"

#include "overlay/OverlayViewState.h"

#include <QUrl>
#include <QVariant>

#include <algorithm>
#include <cstdint>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

using platform::KeyDownEvent;
using platform::PanelConfiguration;

namespace {

constexpr double opacityStep = 0.05;
constexpr double lowestOpacity = 0.25;
constexpr double highestOpacity = 1.0;

void changeOpacity(OverlayHost& host, double step)
{
    OverlaySettings settings = host.currentOverlaySettings();
    settings.opacity =
        step < 0 ? std::max(settings.opacity + step, lowestOpacity) : std::min(settings.opacity + step, highestOpacity);
    host.setCurrentOverlaySettings(settings);
    host.saveOverlaySettings();
}

void setVisible(platform::Panel& panel, bool visible)
{
    if (visible) {
        panel.orderFrontRegardless();
    } else {
        panel.orderOut();
    }
}

} // namespace

OverlayWindowController::OverlayWindowController(std::weak_ptr<OverlayHost> host,
                                                 std::shared_ptr<platform::ScreenProvider> screens,
                                                 std::shared_ptr<platform::PanelProvider> panels,
                                                 std::shared_ptr<platform::KeyMonitorProvider> keyMonitors,
                                                 std::shared_ptr<platform::MainThread> mainThread)
    : m_host(std::move(host))
    , m_screens(std::move(screens))
    , m_panels(std::move(panels))
    , m_keyMonitors(std::move(keyMonitors))
    , m_mainThread(std::move(mainThread))
{
}

void OverlayWindowController::show()
{
    const std::shared_ptr<OverlayHost> host = m_host.lock();
    if (!host) {
        return;
    }
    if (!m_panel) {
        makePanel(*host);
        installHotkeys();
    }
    applySettings(host->currentOverlaySettings());
}

void OverlayWindowController::makePanel(OverlayHost& host)
{
    const OverlaySettings& settings = host.currentOverlaySettings();
    m_panel = m_panels->makePanel(
        {
            .contentRect = panelFrame(settings),
            .styleMask = PanelConfiguration::nonActivating,
            .backing = PanelConfiguration::buffered,
            .defer = false,
            .level = PanelConfiguration::statusLevel,
            .collectionBehavior = PanelConfiguration::canJoinAllSpaces | PanelConfiguration::stationary |
                                  PanelConfiguration::fullScreenAuxiliary,
            .isOpaque = false,
            .hasClearBackground = true,
            .hasShadow = true,
            .hidesOnDeactivate = false,
            .ignoresMouseEvents = settings.clickThrough,
        },
        {
            .component = QUrl(u"qrc:/qt/qml/Quorvel/Overlay/OverlayView.qml"_s),
            .initialProperties = {{u"viewState"_s, QVariant::fromValue(host.overlayViewState())}},
        });
    m_screens->setChangeHandler(
        platform::weakCallback(m_mainThread, weak_from_this(), &OverlayWindowController::followScreens));
}

void OverlayWindowController::applySettings(const OverlaySettings& settings)
{
    if (!m_panel) {
        return;
    }
    m_appliedSettings = settings;
    m_panel->setFrame(panelFrame(settings));
    m_panel->setAlpha(settings.opacity);
    m_panel->setIgnoresMouseEvents(settings.clickThrough);
    setVisible(*m_panel, settings.isVisible);
}

void OverlayWindowController::setPanelVisible(bool visible)
{
    if (m_panel) {
        setVisible(*m_panel, visible);
    }
}

void OverlayWindowController::followScreens()
{
    if (m_panel) {
        m_panel->setFrame(panelFrame(m_appliedSettings));
    }
}

void OverlayWindowController::installHotkeys()
{
    if (!m_monitors.empty()) {
        return;
    }
    const auto handler = platform::weakCallback(m_mainThread, weak_from_this(), &OverlayWindowController::handleHotkey);
    m_monitors.push_back(m_keyMonitors->addLocalKeyDownMonitor(handler));
    m_monitors.push_back(m_keyMonitors->addGlobalKeyDownMonitor(handler));
    std::erase(m_monitors, nullptr);
}

void OverlayWindowController::handleHotkey(KeyDownEvent event)
{
    constexpr std::uint64_t required = KeyDownEvent::commandFlag | KeyDownEvent::shiftFlag;
    const std::shared_ptr<OverlayHost> host = m_host.lock();
    if ((event.modifierFlags & required) != required || !host) {
        return;
    }
    switch (event.keyCode) {
    case KeyDownEvent::keyC:
        host->clearSuggestions();
        break;
    case KeyDownEvent::keySpace:
        host->toggleOverlay();
        break;
    case KeyDownEvent::keyDownArrow:
        changeOpacity(*host, -opacityStep);
        break;
    case KeyDownEvent::keyUpArrow:
        changeOpacity(*host, opacityStep);
        break;
    default:
        break;
    }
}

QRectF OverlayWindowController::panelFrame(const QRectF& area, const OverlaySettings& settings)
{
    const double width = area.width() * settings.widthRatio;
    const double x = area.x() + area.width() / 2 - width / 2;
    // The area's upper edge: coordinates grow upwards.
    const double top = area.y() + area.height();
    return {x, top - settings.topOffset, width, settings.height};
}

QRectF OverlayWindowController::panelFrame(const OverlaySettings& settings) const
{
    constexpr QRectF areaWithoutScreen(0, 0, 1440, 900);
    return panelFrame(m_screens->mainScreenVisibleFrame().value_or(areaWithoutScreen), settings);
}

} // namespace quorvel
