#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace quorvel::test {

/// Runs what is queued on the main thread, and what that queues in turn, without waiting for anything else.
inline void settle()
{
    // The longest chain of queued calls in the application is far shorter than this.
    for (int round = 0; round < 40; ++round) {
        QCoreApplication::processEvents();
    }
}

/// Runs the event loop until `condition` holds; false after `deadline`.
template <typename Condition>
[[nodiscard]] bool waitUntil(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(10))
{
    QTimer expiry;
    expiry.setSingleShot(true);
    expiry.start(deadline);
    while (!condition()) {
        if (!expiry.isActive()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace quorvel::test
