#pragma once

#include "overlay/OverlaySettings.h"
#include "platform/UserDefaults.h"

#include <QRect>
#include <QSize>
#include <QString>

namespace quorvel {

/// Where the main window was when it was last closed.
struct WindowPlacement
{
    /// Points, without the frame.
    QSize size{1080, 780};
    /// Points: the dashboard's right column.
    int sideWidth = 500;
    /// The display's name; empty for the main one.
    QString screen;

    /// What was stored, as far as it makes sense, and the defaults for the rest.
    [[nodiscard]] static WindowPlacement load(const platform::UserDefaults& store);
    void save(platform::UserDefaults& store) const;

    /// The frame for a window on a display: centred, wholly visible, and below the overlay if there is room.
    /// `available` is what panels and docks leave of the display, in points that count downwards.
    [[nodiscard]] QRect frameOn(const QRect& available, const OverlaySettings& overlay) const;

    friend bool operator==(const WindowPlacement&, const WindowPlacement&) = default;
};

} // namespace quorvel
