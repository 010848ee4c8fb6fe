#pragma once

#include "platform/Clock.h"
#include "platform/Task.h"

#include <memory>

namespace quorvel {

/// Spaces runs at least a minimum interval apart. Main thread.
class RateLimiter
{
public:
    /// `minimumInterval` is in seconds.
    RateLimiter(double minimumInterval, std::shared_ptr<platform::Clock> clock);

    /// Ends when the caller may run: at once if the last slot is long enough ago, else in its turn after those who wait
    /// already. The clock being set back does not make anybody wait longer than the intervals before them.
    [[nodiscard]] Task<> waitForSlot();

private:
    Timestamp::duration m_minimumInterval;
    std::shared_ptr<platform::Clock> m_clock;
    /// The slot that was given out last; it lies in the future while callers wait.
    Timestamp m_lastRun = Timestamp::min();
    /// How many callers wait for their slot.
    std::shared_ptr<int> m_waiting = std::make_shared<int>(0);
};

} // namespace quorvel
