#include "platform/linux/desktop/DesktopScreens.h"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace quorvel::platform {

DesktopScreens::DesktopScreens(QObject* parent)
    : QObject(parent)
{
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, [this] { tell(); });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { tell(); });
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen* screen) {
        watch(screen);
        tell();
    });
    for (QScreen* const screen : QGuiApplication::screens()) {
        watch(screen);
    }
}

std::optional<QRectF> DesktopScreens::mainScreenVisibleFrame() const
{
    const QScreen* const screen = QGuiApplication::primaryScreen();
    if (screen == nullptr || screen->geometry().isEmpty()) {
        return std::nullopt;
    }
    return toBottomUp(screen->availableGeometry(), screen->geometry());
}

void DesktopScreens::setChangeHandler(std::function<void()> handler)
{
    m_handler = std::move(handler);
}

QRectF DesktopScreens::toBottomUp(const QRectF& rectangle, const QRectF& mainScreen)
{
    return {rectangle.x() - mainScreen.x(), mainScreen.bottom() - rectangle.bottom(), rectangle.width(),
            rectangle.height()};
}

QRectF DesktopScreens::toTopDown(const QRectF& rectangle, const QRectF& mainScreen)
{
    return {mainScreen.x() + rectangle.x(), mainScreen.bottom() - rectangle.y() - rectangle.height(), rectangle.width(),
            rectangle.height()};
}

void DesktopScreens::watch(QScreen* screen)
{
    connect(screen, &QScreen::geometryChanged, this, [this] { tell(); });
    connect(screen, &QScreen::availableGeometryChanged, this, [this] { tell(); });
}

void DesktopScreens::tell() const
{
    if (m_handler) {
        m_handler();
    }
}

} // namespace quorvel::platform
