#pragma once

#include "platform/linux/capture/AudioGraph.h"
#include "platform/linux/capture/PipeWireHandles.h"
#include "platform/linux/capture/ProcessFilter.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>

namespace quorvel::platform {

/// One connection to the audio server: an input stream of ours, and links into it from whatever plays sound that the
/// filter accepts, kept up as players come and go. It lives on the thread of its loop and is not repaired: when it is
/// broken, its owner makes another one.
class PipeWireSession
{
public:
    enum class State : std::uint8_t {
        ready,   ///< connected; sound flows once the session manager has set the stream up
        broken,  ///< nothing will come any more
        refused, ///< the audio server does not let us in
        absent,  ///< there is no audio server
    };

    struct Handlers
    {
        /// Interleaved left and right at the rate asked for; valid during the call.
        std::function<void(std::span<const float>)> onSound;
        /// The session is not ready any more. It must not be destroyed inside this call.
        std::function<void()> onBroken;
    };

    PipeWireSession(pw_loop* loop, int sampleRate, std::shared_ptr<ProcessFilter> filter, Handlers handlers);
    ~PipeWireSession();
    PipeWireSession(const PipeWireSession&) = delete;
    PipeWireSession(PipeWireSession&&) = delete;
    PipeWireSession& operator=(const PipeWireSession&) = delete;
    PipeWireSession& operator=(PipeWireSession&&) = delete;

    [[nodiscard]] State state() const { return m_state; }

    /// Makes the links that are wanted and missing. Changes do it by themselves; a link that was taken away without one
    /// is made again here.
    void link();

private:
    class BoundObject;
    class OwnedLink;

    void connect(int sampleRate);
    [[nodiscard]] bool makeStream(int sampleRate);
    void fail(State state);

    void onError(std::uint32_t id, int result);
    void onGlobal(std::uint32_t id, const char* type, const spa_dict* properties);
    void onGlobalRemoved(std::uint32_t id);
    void onClientInfo(std::uint32_t id, const spa_dict* properties);
    void onStreamState(pw_stream_state old, pw_stream_state state);
    void onProcess();
    void scheduleLinking();
    void makeLink(const AudioGraph::Link& needed);

    static const pw_core_events& coreEvents();
    static const pw_registry_events& registryEvents();
    static const pw_stream_events& streamEvents();

    pw_loop* m_loop;
    ProcessTable m_processes;
    std::shared_ptr<ProcessFilter> m_filter;
    Handlers m_handlers;
    State m_state = State::ready;
    AudioGraph m_graph;
    spa_source* m_linkEvent = nullptr;

    // Destroyed from the bottom up: what refers to something else comes after it.
    PipeWireContext m_context;
    PipeWireCore m_core;
    PipeWireListener m_coreListener;
    PipeWireProxy m_registry;
    PipeWireListener m_registryListener;
    std::map<std::uint32_t, std::unique_ptr<BoundObject>> m_objects;
    PipeWireStream m_stream;
    PipeWireListener m_streamListener;
    std::map<AudioGraph::Link, std::unique_ptr<OwnedLink>> m_links;
};

} // namespace quorvel::platform
