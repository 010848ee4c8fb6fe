#include "platform/linux/desktop/DesktopPanels.h"

#include "platform/linux/desktop/Compositor.h"
#include "platform/linux/desktop/DesktopScreens.h"
#include "platform/linux/desktop/X11.h"

#include <QColor>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>
#include <QScreen>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

constexpr auto translucencyProperty = "isTranslucent";

/// A frame as the window system takes it, kept from leaving the display at the top.
QRect windowGeometry(const QRectF& frame)
{
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const QRectF mainScreen = screen != nullptr ? QRectF(screen->geometry()) : QRectF(0, 0, frame.width(), frame.top());
    QRectF geometry = DesktopScreens::toTopDown(frame, mainScreen);
    geometry.moveTop(std::max(geometry.top(), mainScreen.top()));
    // What X can express; stored settings may hold any number.
    const QSizeF size = geometry.size().expandedTo(QSizeF(1, 1)).boundedTo(QSizeF(32767, 32767));
    return {geometry.topLeft().toPoint(), size.toSize()};
}

class DesktopPanel final : public Panel
{
public:
    DesktopPanel(QQmlEngine& engine, const PanelConfiguration& configuration, const PanelContent& content)
        : m_window(&engine, nullptr)
        , m_compositor([this] { showTranslucency(); })
    {
        Qt::WindowFlags flags = Qt::Tool | Qt::BypassWindowManagerHint | Qt::FramelessWindowHint |
                                Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus;
        flags.setFlag(Qt::WindowTransparentForInput, configuration.ignoresMouseEvents);
        m_window.setFlags(flags);
        m_window.setColor(Qt::transparent);
        m_window.setResizeMode(QQuickView::SizeRootObjectToView);
        m_window.setGeometry(windowGeometry(configuration.contentRect));
        QVariantMap properties = content.initialProperties;
        properties.insert(QString::fromLatin1(translucencyProperty), m_compositor.isRunning());
        m_window.setInitialProperties(properties);
        m_window.setSource(content.component);
        m_window.create();
        describeWindow();
    }

    [[nodiscard]] bool isUsable() const { return m_window.status() == QQuickView::Ready; }

    void setFrame(const QRectF& frame) override { m_window.setGeometry(windowGeometry(frame)); }

    void setAlpha(double alpha) override { m_window.setOpacity(alpha); }

    void setIgnoresMouseEvents(bool ignores) override
    {
        if (m_window.flags().testFlag(Qt::WindowTransparentForInput) != ignores) {
            m_window.setFlag(Qt::WindowTransparentForInput, ignores);
            describeWindow();
        }
    }

    void orderFrontRegardless() override
    {
        m_window.show();
        m_window.raise();
    }

    void orderOut() override { m_window.hide(); }

private:
    /// Tells compositors, pagers and screen readers what kind of window this is. The toolkit overwrites it with its
    /// flags.
    void describeWindow() const
    {
        xcb_connection_t* const connection = x11::connection();
        if (connection == nullptr) {
            return;
        }
        const auto window = static_cast<xcb_window_t>(m_window.winId());
        const std::array type{x11::atom(connection, "_NET_WM_WINDOW_TYPE_NOTIFICATION"),
                              x11::atom(connection, "_NET_WM_WINDOW_TYPE_UTILITY")};
        const std::array states{
            x11::atom(connection, "_NET_WM_STATE_ABOVE"), x11::atom(connection, "_NET_WM_STATE_STICKY"),
            x11::atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"), x11::atom(connection, "_NET_WM_STATE_SKIP_PAGER")};
        constexpr std::array<std::uint32_t, 1> allDesktops{0xFFFFFFFFU};
        x11::setProperty(connection, window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, type);
        x11::setProperty(connection, window, "_NET_WM_STATE", XCB_ATOM_ATOM, states);
        x11::setProperty(connection, window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, allDesktops);
        xcb_flush(connection);
    }

    void showTranslucency()
    {
        if (QQuickItem* const root = m_window.rootObject()) {
            root->setProperty(translucencyProperty, m_compositor.isRunning());
        }
    }

    QQuickView m_window;
    Compositor m_compositor;
};

} // namespace

DesktopPanels::DesktopPanels(QQmlEngine& engine)
    : m_engine(engine)
{
}

std::unique_ptr<Panel> DesktopPanels::makePanel(const PanelConfiguration& configuration, const PanelContent& content)
{
    auto panel = std::make_unique<DesktopPanel>(m_engine, configuration, content);
    return panel->isUsable() ? std::move(panel) : nullptr;
}

} // namespace quorvel::platform
