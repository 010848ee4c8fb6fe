#include "platform/linux/desktop/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace quorvel::platform {

namespace {

constexpr std::array watchedSignals{SIGTERM, SIGINT, SIGHUP};

/// All that a signal handler can reach.
std::atomic<int> writingEnd{-1};

extern "C" void tellMainThread(int /*signal*/)
{
    const int savedError = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(writingEnd, &byte, 1);
    errno = savedError;
}

void install(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int watched : watchedSignals) {
        sigaction(watched, &action, nullptr);
    }
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate)
{
    if (pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [notifier = m_notifier.get(), terminate = std::move(terminate)] {
                         notifier->setEnabled(false);
                         terminate();
                     });
    writingEnd = m_pipe[1];
    install(tellMainThread);
}

TerminationSignals::~TerminationSignals()
{
    if (m_notifier) {
        install(SIG_DFL);
        m_notifier.reset();
        writingEnd = -1;
        close(m_pipe[0]);
        close(m_pipe[1]);
    }
}

} // namespace quorvel::platform
