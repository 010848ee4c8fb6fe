#pragma once

#include "platform/Clock.h"
#include "platform/Task.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace quorvel {

/// Runs only the last of a burst of operations, once nothing new has come for a while. Main thread.
class Debouncer
{
public:
    using Operation = std::function<Task<>()>;

    explicit Debouncer(std::shared_ptr<platform::Clock> clock);
    ~Debouncer();
    Debouncer(const Debouncer&) = delete;
    Debouncer(Debouncer&&) = delete;
    Debouncer& operator=(const Debouncer&) = delete;
    Debouncer& operator=(Debouncer&&) = delete;

    /// Runs `operation` after `delay`, in place of the one that still waits, if any. An operation that runs already is
    /// left alone. A debouncer that is destroyed takes what waits with it.
    void schedule(std::chrono::milliseconds delay, Operation operation);
    void cancel();

private:
    static Task<> run(std::shared_ptr<platform::Clock> clock, std::chrono::milliseconds delay, Operation operation,
                      std::stop_token stop);

    std::shared_ptr<platform::Clock> m_clock;
    std::optional<std::stop_source> m_task;
};

} // namespace quorvel
