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
constexpr auto cornerRadiusProperty = "cornerRadius";

/// The rectangles, in pixels, that fill a rounded one: x, y, width and height of each in turn.
std::vector<std::uint32_t> roundedRegion(QSize size, int radius)
{
    QRegion region(0, 0, size.width(), size.height());
    if (radius > 0) {
        const int diameter = 2 * radius;
        const QRegion circle(0, 0, diameter, diameter, QRegion::Ellipse);
        const int right = size.width() - diameter;
        const int bottom = size.height() - diameter;
        region = QRegion(radius, 0, size.width() - diameter, size.height()) +
                 QRegion(0, radius, size.width(), size.height() - diameter) + circle + circle.translated(right, 0) +
                 circle.translated(0, bottom) + circle.translated(right, bottom);
    }
    std::vector<std::uint32_t> values;
    for (const QRect& rectangle : region) {
        for (const int value : {rectangle.x(), rectangle.y(), rectangle.width(), rectangle.height()}) {
            values.push_back(static_cast<std::uint32_t>(value));
        }
    }
    return values;
}

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
        askForFrost();
    }

    [[nodiscard]] bool isUsable() const { return m_window.status() == QQuickView::Ready; }

    void setFrame(const QRectF& frame) override
    {
        m_window.setGeometry(windowGeometry(frame));
        askForFrost();
    }

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
        describeWindow();
        m_window.raise();
    }

    void orderOut() override { m_window.hide(); }

private:
    /// Tells compositors, pagers and screen readers what kind of window this is. The toolkit overwrites it with its
    /// flags whenever they change and when the window is shown.
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
            askForFrost();
        }
    }

    /// Compositors that can blur what lies behind the card, as long as it has its round corners.
    void askForFrost() const
    {
        xcb_connection_t* const connection = x11::connection();
        const QQuickItem* const root = m_window.rootObject();
        if (connection == nullptr || root == nullptr) {
            return;
        }
        const double scale = m_window.devicePixelRatio();
        const int radius = qRound(root->property(cornerRadiusProperty).toReal() * scale);
        x11::setProperty(connection, static_cast<xcb_window_t>(m_window.winId()), "_KDE_NET_WM_BLUR_BEHIND_REGION",
                         XCB_ATOM_CARDINAL, roundedRegion(m_window.size() * scale, radius));
        xcb_flush(connection);
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
