#pragma once

#include "platform/Task.h"

#include <chrono>
#include <stop_token>

namespace quorvel {

/// A wall-clock moment.
using Timestamp = std::chrono::system_clock::time_point;

namespace platform {

/// Time, so that what waits or measures can be driven by a test. Main thread, but now() from any thread.
class Clock
{
public:
    virtual ~Clock() = default;

    [[nodiscard]] virtual Timestamp now() const = 0;

    /// Ends after `duration`, or at once with PlatformError::cancelled when `stop` is requested before.
    [[nodiscard]] virtual Task<Result<>> sleep(std::chrono::milliseconds duration, std::stop_token stop) = 0;
};

} // namespace platform
} // namespace quorvel
