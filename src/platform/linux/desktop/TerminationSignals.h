#pragma once

#include <QSocketNotifier>

#include <array>
#include <functional>
#include <memory>

namespace quorvel::platform {

/// Turns the signals by which a system asks a program to end (SIGTERM, SIGINT, SIGHUP) into a call on the main thread.
/// One object at most; while it is there, these signals no longer end the process by themselves.
class TerminationSignals final
{
public:
    explicit TerminationSignals(std::function<void()> terminate);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals(TerminationSignals&&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    TerminationSignals& operator=(TerminationSignals&&) = delete;

private:
    /// Reading and writing end; the signal handler may do nothing more than write.
    std::array<int, 2> m_pipe{-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace quorvel::platform
