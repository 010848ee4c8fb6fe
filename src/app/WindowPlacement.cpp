#include "app/WindowPlacement.h"

#include "app/SettingsKeys.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

/// No display of today is larger; a stored size beyond it is damage.
constexpr int largestSide = 32'768;
/// Room for the title bar that the window manager adds above.
constexpr int titleBar = 40;
/// What the tallest screen needs.
constexpr int smallestHeight = 640;

int sensible(const QJsonValue& value, int fallback)
{
    const int number = value.toInt(0);
    return number > 0 && number <= largestSide ? number : fallback;
}

} // namespace

WindowPlacement WindowPlacement::load(const platform::UserDefaults& store)
{
    const WindowPlacement defaults;
    const QJsonObject stored =
        QJsonDocument::fromJson(store.dataForKey(windowPlacementKey).value_or(QByteArray())).object();
    return {.size = {sensible(stored["width"_L1], defaults.size.width()),
                     sensible(stored["height"_L1], defaults.size.height())},
            .sideWidth = sensible(stored["sideWidth"_L1], defaults.sideWidth),
            .screen = stored["screen"_L1].toString()};
}

void WindowPlacement::save(platform::UserDefaults& store) const
{
    const QJsonObject object{
        {"width"_L1, size.width()}, {"height"_L1, size.height()}, {"sideWidth"_L1, sideWidth}, {"screen"_L1, screen}};
    store.setData(QJsonDocument(object).toJson(QJsonDocument::Compact), windowPlacementKey);
}

QRect WindowPlacement::frameOn(const QRect& available, const OverlaySettings& overlay) const
{
    // The overlay ends `topOffset` below the top, and lower where it would leave the display at the top.
    const int overlayEnd = static_cast<int>(std::ceil(std::max(overlay.topOffset, overlay.height)));
    const int width = std::min(size.width(), available.width());
    const int roomBelow = std::max(smallestHeight, available.height() - overlayEnd - titleBar);
    const int height = std::min({size.height(), roomBelow, std::max(0, available.height() - titleBar)});
    const int lowestTop = available.y() + available.height() - height;
    const int top = std::min(available.y() + overlayEnd + titleBar, lowestTop);
    return {available.x() + (available.width() - width) / 2, top, width, height};
}

} // namespace quorvel
