#pragma once

#include <QLatin1StringView>

namespace quorvel {

/// Where AppState keeps the interview context in the settings store.
inline constexpr QLatin1StringView meetingContextKey("meeting.context");
inline constexpr QLatin1StringView interviewSetupCompletedKey("interview.setup.completed");

} // namespace quorvel
