#pragma once

#include "platform/RawValue.h"
#include "platform/ShareableContent.h"

#include <QString>

#include <array>
#include <cstdint>
#include <memory>

namespace quorvel {

enum class CaptureSourceKind : std::uint8_t { browser, window, screen };

/// The texts on the wire, which are also the titles.
[[nodiscard]] constexpr auto rawValues(CaptureSourceKind)
{
    return std::array{
        RawValue{CaptureSourceKind::browser, "Browser"},
        RawValue{CaptureSourceKind::window, "Window"},
        RawValue{CaptureSourceKind::screen, "Screen"},
    };
}

/// One thing that the user can choose to capture. Immutable; two sources are the same one when their ids are equal.
struct CaptureSource
{
    /// "window-" or "screen-" and the platform's number.
    QString id;
    CaptureSourceKind kind = CaptureSourceKind::window;
    /// The window's title, which may be empty, or the display's name.
    QString title;
    /// The application that owns the window; empty for a display.
    QString applicationName;
    bool isLikelyMeeting = false;
    std::shared_ptr<const platform::ShareableWindow> window;
    std::shared_ptr<const platform::ShareableDisplay> display;

    /// The second line under the title.
    [[nodiscard]] QString subtitle() const;
    /// What the source is called where there is one line: its title, or its application's name for a window without
    /// one.
    [[nodiscard]] QString displayName() const;

    friend bool operator==(const CaptureSource& left, const CaptureSource& right) { return left.id == right.id; }
};

[[nodiscard]] inline std::size_t qHash(const CaptureSource& source, std::size_t seed = 0)
{
    return qHash(source.id, seed);
}

} // namespace quorvel
