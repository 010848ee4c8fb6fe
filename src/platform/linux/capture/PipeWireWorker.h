#pragma once

#include "platform/Result.h"
#include "platform/linux/capture/MonoFrames.h"
#include "platform/linux/capture/PipeWireHandles.h"
#include "platform/linux/capture/PipeWireSession.h"
#include "platform/linux/capture/ProcessFilter.h"

#include <chrono>
#include <functional>
#include <memory>
#include <semaphore>
#include <span>

namespace quorvel::platform {

/// Keeps a session with the audio server going on a thread of its own: makes a new one when the server or its session
/// manager went away and came back, and gives up when that takes longer than five seconds.
///
/// Its own calls belong to the thread that made it; its handlers are called on the other one.
class PipeWireWorker
{
public:
    struct Handlers
    {
        /// 20 ms of mono sound, valid during the call.
        std::function<void(std::span<const float>)> onBuffer;
        /// Once: with the first sound or silence, or with the reason why there will be none.
        std::function<void(Result<>)> onStarted;
        /// At most once, after a start: why nothing follows any more.
        std::function<void(Failure)> onStopped;
    };

    PipeWireWorker(int sampleRate, ProcessFilter filter, Handlers handlers);
    /// Waits until the other thread has ended: no handler is called any more.
    ~PipeWireWorker();
    PipeWireWorker(const PipeWireWorker&) = delete;
    PipeWireWorker(PipeWireWorker&&) = delete;
    PipeWireWorker& operator=(const PipeWireWorker&) = delete;
    PipeWireWorker& operator=(PipeWireWorker&&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    void watch();
    void renewSession();
    void onSound(std::span<const float> interleaved);
    void fail();
    void watchAgainIn(Clock::duration delay);
    void end();

    int m_sampleRate;
    std::shared_ptr<ProcessFilter> m_filter;
    Handlers m_handlers;
    PipeWireLibrary m_library;
    PipeWireThreadLoop m_threadLoop;
    pw_loop* m_loop = nullptr;
    spa_source* m_timer = nullptr;
    spa_source* m_endEvent = nullptr;
    std::binary_semaphore m_ended{0};

    // The other thread's.
    std::unique_ptr<PipeWireSession> m_session;
    MonoFrames m_frames;
    bool m_isStarted = false;
    bool m_sessionHasSound = false;
    Clock::time_point m_lastSound;
    Clock::time_point m_sessionMade;
};

} // namespace quorvel::platform
