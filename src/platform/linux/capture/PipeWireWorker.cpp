#include "platform/linux/capture/PipeWireWorker.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quorvel::platform {

namespace {

constexpr auto watchInterval = 250ms;
/// In a running graph something arrives every 11 ms.
constexpr auto longestGap = 1s;
/// A session manager that is only starting needs longer than one that runs.
constexpr auto longestSetUp = 2s;
/// A server that is back after five seconds needs some more until sound flows; after six the user has to be told.
constexpr auto longestOutage = 5800ms;

PlatformError errorFor(PipeWireSession::State state)
{
    return state == PipeWireSession::State::absent ? PlatformError::unavailable : PlatformError::failed;
}

QString sentenceFor(PipeWireSession::State state, bool wasRunning)
{
    if (state == PipeWireSession::State::refused) {
        return u"Quorvel has no permission to use the audio server."_s;
    }
    if (state == PipeWireSession::State::ready) {
        return u"The audio server runs but delivers no sound. Its session manager may have stopped."_s;
    }
    if (wasRunning) {
        return u"The audio server stopped and did not come back within five seconds."_s;
    }
    return u"The PipeWire audio server is not running. Quorvel hears the meeting through it."_s;
}

} // namespace

PipeWireWorker::PipeWireWorker(int sampleRate, ProcessFilter filter, Handlers handlers)
    : m_sampleRate(sampleRate)
    , m_filter(std::make_shared<ProcessFilter>(std::move(filter)))
    , m_handlers(std::move(handlers))
    , m_threadLoop(pw_thread_loop_new("quorvel-audio", nullptr))
    , m_loop(pw_thread_loop_get_loop(m_threadLoop.get()))
    , m_timer(pw_loop_add_timer(
          m_loop, [](void* data, std::uint64_t /*expirations*/) { static_cast<PipeWireWorker*>(data)->watch(); }, this))
    , m_endEvent(pw_loop_add_event(
          m_loop, [](void* data, std::uint64_t /*count*/) { static_cast<PipeWireWorker*>(data)->end(); }, this))
    , m_lastSound(Clock::now())
{
    watchAgainIn(0ms);
    pw_thread_loop_start(m_threadLoop.get());
}

PipeWireWorker::~PipeWireWorker()
{
    // Not by an invoked call: in this version of the library only one thread at a time may queue calls, and that is its
    // own.
    pw_loop_signal_event(m_loop, m_endEvent);
    m_ended.acquire();
    pw_thread_loop_stop(m_threadLoop.get());
}

void PipeWireWorker::watch()
{
    const Clock::time_point now = Clock::now();
    if (now - m_lastSound >= longestOutage) {
        fail();
        return;
    }
    const bool isReady = m_session && m_session->state() == PipeWireSession::State::ready;
    const auto longestSilence = m_sessionHasSound ? longestGap : longestSetUp;
    if (isReady && now - std::max(m_lastSound, m_sessionMade) < longestSilence) {
        m_session->link();
    } else {
        const bool isFirst = !m_session;
        renewSession();
        if (isFirst && m_session->state() != PipeWireSession::State::ready) {
            fail();
            return;
        }
    }
    watchAgainIn(std::min<Clock::duration>(watchInterval, m_lastSound + longestOutage - now));
}

void PipeWireWorker::renewSession()
{
    m_session.reset();
    m_frames = {};
    m_sessionHasSound = false;
    m_sessionMade = Clock::now();
    m_session = std::make_unique<PipeWireSession>(
        m_loop, m_sampleRate, m_filter,
        PipeWireSession::Handlers{
            .onSound = [this](std::span<const float> interleaved) { onSound(interleaved); },
            .onBroken = [this] { watchAgainIn(0ms); },
        });
}

void PipeWireWorker::onSound(std::span<const float> interleaved)
{
    m_lastSound = Clock::now();
    m_sessionHasSound = true;
    if (!std::exchange(m_isStarted, true)) {
        m_handlers.onStarted({});
    }
    m_frames.push(interleaved, m_handlers.onBuffer);
}

void PipeWireWorker::fail()
{
    const PipeWireSession::State state = m_session->state();
    m_session.reset();
    Failure failure{.code = errorCode(errorFor(state)), .description = sentenceFor(state, m_isStarted)};
    if (m_isStarted) {
        m_handlers.onStopped(std::move(failure));
    } else {
        m_handlers.onStarted(std::unexpected(std::move(failure)));
    }
}

void PipeWireWorker::watchAgainIn(Clock::duration delay)
{
    // A timer at zero is off.
    const auto nanoseconds = std::max<std::chrono::nanoseconds>(delay, 1ns);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(nanoseconds);
    timespec value{.tv_sec = seconds.count(), .tv_nsec = (nanoseconds - seconds).count()};
    pw_loop_update_timer(m_loop, m_timer, &value, nullptr, false);
}

void PipeWireWorker::end()
{
    m_session.reset();
    pw_loop_destroy_source(m_loop, m_timer);
    m_ended.release();
}

} // namespace quorvel::platform
