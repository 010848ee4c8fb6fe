#pragma once

#include "platform/Clock.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace quorvel::test {

/// Stands still until a test moves it.
class FakeClock final : public platform::Clock
{
public:
    [[nodiscard]] Timestamp now() const override { return m_now; }

    [[nodiscard]] Task<Result<>> sleep(std::chrono::milliseconds duration, std::stop_token stop) override
    {
        const auto sleeper = std::make_shared<Sleeper>(m_now + duration, stop);
        m_sleepers.push_back(sleeper);
        ++m_sleeps;
        return sleeper->promise.result();
    }

    /// Moves on and wakes whoever is due, in order; what they do next runs with the event loop.
    void advance(std::chrono::milliseconds duration)
    {
        m_now += duration;
        std::ranges::stable_sort(m_sleepers, {}, &Sleeper::due);
        std::vector<std::shared_ptr<Sleeper>> due;
        std::erase_if(m_sleepers, [this, &due](const std::shared_ptr<Sleeper>& sleeper) {
            const bool isDue = sleeper->due <= m_now;
            if (isDue) {
                due.push_back(sleeper);
            }
            return isDue;
        });
        for (const auto& sleeper : due) {
            sleeper->promise.finish({});
        }
    }

    /// As when somebody sets the system's clock; nobody wakes.
    void set(Timestamp now) { m_now = now; }

    /// How many sleeps have begun.
    [[nodiscard]] int sleeps() const { return m_sleeps; }

private:
    struct Sleeper
    {
        Sleeper(Timestamp wakeAt, const std::stop_token& stop)
            : due(wakeAt)
            , onStop(stop, [this] { promise.finish(std::unexpected(platform::cancelledFailure())); })
        {
        }

        Timestamp due;
        platform::Promise<> promise;
        std::stop_callback<std::function<void()>> onStop;
    };

    Timestamp m_now = Timestamp(std::chrono::hours(500'000));
    std::vector<std::shared_ptr<Sleeper>> m_sleepers;
    int m_sleeps = 0;
};

} // namespace quorvel::test
