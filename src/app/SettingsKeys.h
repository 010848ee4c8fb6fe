#pragma once

#include <QLatin1StringView>

namespace quorvel {

/// What the application keeps in the settings store.
inline constexpr QLatin1StringView meetingContextKey("meeting.context");
inline constexpr QLatin1StringView interviewSetupCompletedKey("interview.setup.completed");
inline constexpr QLatin1StringView windowPlacementKey("window.placement");

} // namespace quorvel
