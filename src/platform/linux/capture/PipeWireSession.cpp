#include "platform/linux/capture/PipeWireSession.h"

#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>

namespace quorvel::platform {

namespace {

std::string_view textOf(const spa_dict* properties, const char* key)
{
    const char* text = properties != nullptr ? spa_dict_lookup(properties, key) : nullptr;
    return text != nullptr ? text : std::string_view();
}

template <typename Number>
std::optional<Number> numberOf(const spa_dict* properties, const char* key)
{
    const std::string_view text = textOf(properties, key);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

bool isRefusal(int result)
{
    return result == -EACCES || result == -EPERM;
}

pw_properties* streamProperties()
{
    // The graph rounds the latency down to a power of two: 480 frames of 24 kHz become 512 of 48 kHz. Without
    // always-process nothing at all would come while nobody plays. The session manager must not bring back the volume
    // of an earlier stream.
    return pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                             "Communication", PW_KEY_APP_NAME, "Quorvel", PW_KEY_NODE_NAME, "quorvel-capture",
                             PW_KEY_NODE_DESCRIPTION, "Quorvel meeting sound", PW_KEY_NODE_LATENCY, "480/24000",
                             PW_KEY_NODE_ALWAYS_PROCESS, "true", "state.restore-props", "false", nullptr);
}

/// Buffers for a fifth of a second: with the usual two, sound is lost whenever our thread gets no processor for 20 ms.
const spa_pod* bufferParameter(spa_pod_builder& builder)
{
    constexpr int count = 16;
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_int(&builder, count);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
}

} // namespace

/// A client or a player of the registry, bound because what decides is told only to those who are bound.
class PipeWireSession::BoundObject
{
public:
    BoundObject(PipeWireSession& session, std::uint32_t id, pw_proxy* proxy, const void* events)
        : m_session(session)
        , m_id(id)
        , m_proxy(proxy)
    {
        pw_proxy_add_object_listener(m_proxy.get(), m_listener.hook(), events, this);
    }

    static const pw_client_events& clientEvents()
    {
        static const pw_client_events events = [] {
            pw_client_events table{};
            table.version = PW_VERSION_CLIENT_EVENTS;
            table.info = [](void* data, const pw_client_info* info) {
                const auto& self = *static_cast<BoundObject*>(data);
                self.m_session.onClientInfo(self.m_id, info->props);
            };
            return table;
        }();
        return events;
    }

    static const pw_node_events& playerEvents()
    {
        static const pw_node_events events = [] {
            pw_node_events table{};
            table.version = PW_VERSION_NODE_EVENTS;
            table.info = [](void* data, const pw_node_info* info) {
                const auto& self = *static_cast<BoundObject*>(data);
                const bool passesSoundOn = !textOf(info->props, PW_KEY_NODE_LINK_GROUP).empty();
                self.m_session.m_graph.setPlayerInfo(self.m_id, info->n_output_ports, passesSoundOn);
                self.m_session.scheduleLinking();
            };
            return table;
        }();
        return events;
    }

private:
    PipeWireSession& m_session;
    std::uint32_t m_id;
    PipeWireProxy m_proxy;
    PipeWireListener m_listener;
};

/// A link that we asked for. The server takes it away with either of its ports, or refuses it; it is not asked for
/// again at once, so that nobody who insists on the contrary keeps us busy.
class PipeWireSession::OwnedLink
{
public:
    explicit OwnedLink(pw_proxy* proxy)
        : m_proxy(proxy)
    {
        pw_proxy_add_listener(m_proxy.get(), m_listener.hook(), &events(), this);
    }

    [[nodiscard]] bool isGone() const { return m_isGone; }

private:
    static const pw_proxy_events& events()
    {
        static const pw_proxy_events linkEvents = [] {
            pw_proxy_events table{};
            table.version = PW_VERSION_PROXY_EVENTS;
            table.removed = [](void* data) { static_cast<OwnedLink*>(data)->m_isGone = true; };
            table.error = [](void* data, int /*sequence*/, int /*result*/, const char* /*message*/) {
                static_cast<OwnedLink*>(data)->m_isGone = true;
            };
            return table;
        }();
        return linkEvents;
    }

    bool m_isGone = false;
    PipeWireProxy m_proxy;
    PipeWireListener m_listener;
};

PipeWireSession::PipeWireSession(pw_loop* loop, int sampleRate, std::shared_ptr<ProcessFilter> filter,
                                 Handlers handlers)
    : m_loop(loop)
    , m_filter(std::move(filter))
    , m_handlers(std::move(handlers))
{
    connect(sampleRate);
}

PipeWireSession::~PipeWireSession()
{
    m_state = State::broken;
    m_links.clear();
    if (m_stream) {
        pw_stream_disconnect(m_stream.get());
        // Calls of `process` that are still queued refer to the stream: an empty call on its own thread runs them
        // first.
        constexpr auto nothing = [](spa_loop*, bool, std::uint32_t, const void*, std::size_t, void*) { return 0; };
        pw_loop_invoke(m_loop, nothing, 0, nullptr, 0, false, nullptr);
    }
    if (m_linkEvent != nullptr) {
        pw_loop_destroy_source(m_loop, m_linkEvent);
    }
}

void PipeWireSession::connect(int sampleRate)
{
    m_linkEvent = pw_loop_add_event(
        m_loop, [](void* data, std::uint64_t /*count*/) { static_cast<PipeWireSession*>(data)->link(); }, this);
    // With realtime priority where the desktop grants it: a late input would disturb the graph that it is in.
    m_context.reset(pw_context_new(m_loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
    if (!m_context || m_linkEvent == nullptr) {
        m_state = State::broken;
        return;
    }
    m_core.reset(pw_context_connect(m_context.get(), nullptr, 0));
    if (!m_core) {
        m_state = isRefusal(-errno) ? State::refused : State::absent;
        return;
    }
    pw_proxy_add_object_listener(reinterpret_cast<pw_proxy*>(m_core.get()), m_coreListener.hook(), &coreEvents(), this);
    m_registry.reset(reinterpret_cast<pw_proxy*>(pw_core_get_registry(m_core.get(), PW_VERSION_REGISTRY, 0)));
    if (!m_registry || !makeStream(sampleRate)) {
        m_state = State::broken;
        return;
    }
    pw_proxy_add_object_listener(m_registry.get(), m_registryListener.hook(), &registryEvents(), this);
}

bool PipeWireSession::makeStream(int sampleRate)
{
    m_stream.reset(pw_stream_new(m_core.get(), "Quorvel meeting sound", streamProperties()));
    if (!m_stream) {
        return false;
    }
    pw_stream_add_listener(m_stream.get(), m_streamListener.hook(), &streamEvents(), this);

    // Two channels: into a single one the server would sum left and right.
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = static_cast<std::uint32_t>(sampleRate);
    format.channels = 2;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    std::array<const spa_pod*, 2> parameters{
        spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format),
        bufferParameter(builder),
    };
    // Not connected automatically, it never reaches the microphone; not on the realtime thread, it is called on the
    // loop's.
    return pw_stream_connect(m_stream.get(), PW_DIRECTION_INPUT, PW_ID_ANY, PW_STREAM_FLAG_MAP_BUFFERS,
                             parameters.data(), parameters.size()) >= 0;
}

void PipeWireSession::fail(State state)
{
    if (m_state == State::ready) {
        m_state = state;
        m_handlers.onBroken();
    }
}

void PipeWireSession::onError(std::uint32_t id, int result)
{
    if (id == PW_ID_CORE) {
        fail(isRefusal(result) ? State::refused : State::broken);
    }
}

void PipeWireSession::onGlobal(std::uint32_t id, const char* type, const spa_dict* properties)
{
    // The number may have been another object's a moment ago.
    onGlobalRemoved(id);
    auto* registry = reinterpret_cast<pw_registry*>(m_registry.get());
    const std::string_view kind = type;
    if (kind == PW_TYPE_INTERFACE_Client) {
        auto* proxy = static_cast<pw_proxy*>(pw_registry_bind(registry, id, type, PW_VERSION_CLIENT, 0));
        m_objects[id] = std::make_unique<BoundObject>(*this, id, proxy, &BoundObject::clientEvents());
    } else if (kind == PW_TYPE_INTERFACE_Node && textOf(properties, PW_KEY_MEDIA_CLASS) == "Stream/Output/Audio") {
        m_graph.setPlayer(id, numberOf<std::uint32_t>(properties, PW_KEY_CLIENT_ID).value_or(PW_ID_ANY));
        auto* proxy = static_cast<pw_proxy*>(pw_registry_bind(registry, id, type, PW_VERSION_NODE, 0));
        m_objects[id] = std::make_unique<BoundObject>(*this, id, proxy, &BoundObject::playerEvents());
    } else if (kind == PW_TYPE_INTERFACE_Port && textOf(properties, PW_KEY_PORT_MONITOR) != "true") {
        m_graph.setPort(id, {.nodeId = numberOf<std::uint32_t>(properties, PW_KEY_NODE_ID).value_or(PW_ID_ANY),
                             .isOutput = textOf(properties, PW_KEY_PORT_DIRECTION) == "out",
                             .index = numberOf<std::uint32_t>(properties, PW_KEY_PORT_ID).value_or(0),
                             .channel = std::string(textOf(properties, PW_KEY_AUDIO_CHANNEL))});
        scheduleLinking();
    }
}

void PipeWireSession::onGlobalRemoved(std::uint32_t id)
{
    m_graph.remove(id);
    m_objects.erase(id);
    scheduleLinking();
}

void PipeWireSession::onClientInfo(std::uint32_t id, const spa_dict* properties)
{
    // The server knows the process behind a connection of its own. For a client of the PulseAudio service that is the
    // service; what the client says of itself may be a number that only means something in its sandbox.
    std::optional<std::int64_t> process = numberOf<std::int64_t>(properties, PW_KEY_SEC_PID);
    if (textOf(properties, PW_KEY_CLIENT_API) == "pipewire-pulse") {
        const auto claimed = numberOf<std::int64_t>(properties, PW_KEY_APP_PROCESS_ID);
        process =
            claimed ? m_processes.findByClaim(*claimed, textOf(properties, PW_KEY_APP_PROCESS_BINARY)) : std::nullopt;
    }
    m_graph.setClient(id, m_filter->accepts(process.value_or(0)));
    scheduleLinking();
}

void PipeWireSession::onStreamState(pw_stream_state old, pw_stream_state state)
{
    // We never pause the stream ourselves: then the session manager has taken it out of service.
    const bool isTakenOut = old == PW_STREAM_STATE_STREAMING && state == PW_STREAM_STATE_PAUSED;
    if (isTakenOut || state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
        fail(State::broken);
    } else {
        scheduleLinking();
    }
}

void PipeWireSession::onProcess()
{
    while (pw_buffer* buffer = pw_stream_dequeue_buffer(m_stream.get())) {
        const spa_data& data = buffer->buffer->datas[0];
        if (m_state == State::ready && data.data != nullptr && data.chunk != nullptr) {
            const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
            const std::uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
            const auto* samples = reinterpret_cast<const float*>(static_cast<const std::byte*>(data.data) + offset);
            m_handlers.onSound(std::span(samples, size / sizeof(float)));
        }
        pw_stream_queue_buffer(m_stream.get(), buffer);
    }
}

void PipeWireSession::scheduleLinking()
{
    pw_loop_signal_event(m_loop, m_linkEvent);
}

void PipeWireSession::link()
{
    std::erase_if(m_links, [](const auto& made) { return made.second->isGone(); });
    const std::uint32_t ourNode = m_state == State::ready ? pw_stream_get_node_id(m_stream.get()) : PW_ID_ANY;
    if (ourNode == PW_ID_ANY) {
        return;
    }
    const std::vector<AudioGraph::Link> wanted = m_graph.linksInto(ourNode);
    std::erase_if(m_links,
                  [&wanted](const auto& made) { return std::ranges::find(wanted, made.first) == wanted.end(); });
    for (const AudioGraph::Link& needed : wanted) {
        if (!m_links.contains(needed)) {
            makeLink(needed);
        }
    }
}

void PipeWireSession::makeLink(const AudioGraph::Link& needed)
{
    pw_properties* properties = pw_properties_new(PW_KEY_OBJECT_LINGER, "false", PW_KEY_LINK_PASSIVE, "true", nullptr);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", needed.outputNode);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", needed.outputPort);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", needed.inputNode);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", needed.inputPort);
    auto* proxy = static_cast<pw_proxy*>(pw_core_create_object(m_core.get(), "link-factory", PW_TYPE_INTERFACE_Link,
                                                               PW_VERSION_LINK, &properties->dict, 0));
    pw_properties_free(properties);
    if (proxy != nullptr) {
        m_links[needed] = std::make_unique<OwnedLink>(proxy);
    }
}

const pw_core_events& PipeWireSession::coreEvents()
{
    static const pw_core_events events = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.error = [](void* data, std::uint32_t id, int /*sequence*/, int result, const char* /*message*/) {
            static_cast<PipeWireSession*>(data)->onError(id, result);
        };
        return table;
    }();
    return events;
}

const pw_registry_events& PipeWireSession::registryEvents()
{
    static const pw_registry_events events = [] {
        pw_registry_events table{};
        table.version = PW_VERSION_REGISTRY_EVENTS;
        table.global = [](void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                          std::uint32_t /*version*/, const spa_dict* properties) {
            static_cast<PipeWireSession*>(data)->onGlobal(id, type, properties);
        };
        table.global_remove = [](void* data, std::uint32_t id) {
            static_cast<PipeWireSession*>(data)->onGlobalRemoved(id);
        };
        return table;
    }();
    return events;
}

const pw_stream_events& PipeWireSession::streamEvents()
{
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.state_changed = [](void* data, pw_stream_state old, pw_stream_state state, const char* /*error*/) {
            static_cast<PipeWireSession*>(data)->onStreamState(old, state);
        };
        table.process = [](void* data) { static_cast<PipeWireSession*>(data)->onProcess(); };
        return table;
    }();
    return events;
}

} // namespace quorvel::platform
