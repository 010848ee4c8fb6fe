#include "platform/linux/desktop/SystemClock.h"

#include <QTimer>

#include <algorithm>
#include <limits>
#include <utility>

namespace quorvel::platform {

Timestamp SystemClock::now() const
{
    return std::chrono::system_clock::now();
}

Task<Result<>> SystemClock::sleep(std::chrono::milliseconds duration, std::stop_token stop)
{
    // A timer counts its milliseconds in an int.
    constexpr std::chrono::milliseconds longest(std::numeric_limits<int>::max());

    Promise<> promise;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [&promise] { promise.finish({}); });
    const std::stop_callback onStop(stop, [&promise] { promise.finish(std::unexpected(cancelledFailure())); });
    timer.start(std::clamp(duration, std::chrono::milliseconds::zero(), longest));

    Task<Result<>> result = promise.result();
    co_return co_await result;
}

} // namespace quorvel::platform
