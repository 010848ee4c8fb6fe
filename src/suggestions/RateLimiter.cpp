#include "suggestions/RateLimiter.h"

#include <algorithm>
#include <chrono>
#include <stop_token>
#include <utility>

namespace quorvel {

RateLimiter::RateLimiter(double minimumInterval, std::shared_ptr<platform::Clock> clock)
    : m_minimumInterval(std::chrono::duration_cast<Timestamp::duration>(std::chrono::duration<double>(minimumInterval)))
    , m_clock(std::move(clock))
{
}

Task<> RateLimiter::waitForSlot()
{
    const Timestamp now = m_clock->now();
    Timestamp slot = now;
    if (m_lastRun != Timestamp::min()) {
        const Timestamp latest = now + m_minimumInterval * (*m_waiting + 1);
        slot = std::clamp(m_lastRun + m_minimumInterval, now, latest);
    }
    m_lastRun = slot;
    if (slot == now) {
        co_return;
    }
    // The limiter may be gone when the sleep ends.
    const std::shared_ptr<int> waiting = m_waiting;
    const auto duration = std::chrono::ceil<std::chrono::milliseconds>(slot - now);
    const std::stop_token never;
    ++*waiting;
    [[maybe_unused]] const Result<> slept = co_await m_clock->sleep(duration, never);
    --*waiting;
}

} // namespace quorvel
