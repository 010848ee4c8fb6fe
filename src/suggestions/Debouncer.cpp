#include "suggestions/Debouncer.h"

#include <utility>

namespace quorvel {

Debouncer::Debouncer(std::shared_ptr<platform::Clock> clock)
    : m_clock(std::move(clock))
{
}

Debouncer::~Debouncer()
{
    cancel();
}

void Debouncer::schedule(std::chrono::milliseconds delay, Operation operation)
{
    cancel();
    m_task.emplace();
    launch(run(m_clock, delay, std::move(operation), m_task->get_token()));
}

void Debouncer::cancel()
{
    if (m_task) {
        m_task->request_stop();
        m_task.reset();
    }
}

Task<> Debouncer::run(std::shared_ptr<platform::Clock> clock, std::chrono::milliseconds delay, Operation operation,
                      std::stop_token stop)
{
    const Result<> slept = co_await clock->sleep(delay, stop);
    // The stop can also be requested between the end of the sleep and this line.
    if (slept && !stop.stop_requested()) {
        co_await operation();
    }
}

} // namespace quorvel
