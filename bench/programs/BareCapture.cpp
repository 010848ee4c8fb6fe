#include "programs/BareCapture.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <array>
#include <utility>

namespace quorvel::bench {

namespace {

struct Capture
{
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    std::function<bool(std::span<const std::byte>)> take;

    void process()
    {
        pw_buffer* buffer = pw_stream_dequeue_buffer(stream);
        if (buffer == nullptr) {
            return;
        }
        const spa_data& data = buffer->buffer->datas[0];
        const auto* bytes = static_cast<const std::byte*>(data.data) + data.chunk->offset;
        if (!take({bytes, data.chunk->size})) {
            pw_main_loop_quit(loop);
        }
        pw_stream_queue_buffer(stream, buffer);
    }
};

const pw_stream_events& streamEvents()
{
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* data) { static_cast<Capture*>(data)->process(); };
        return table;
    }();
    return events;
}

} // namespace

void captureMonitor(std::function<bool(std::span<const std::byte>)> take)
{
    pw_init(nullptr, nullptr);
    Capture capture;
    capture.take = std::move(take);
    capture.loop = pw_main_loop_new(nullptr);
    capture.stream = pw_stream_new_simple(pw_main_loop_get_loop(capture.loop), "bare capture",
                                          pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                                            "Capture", PW_KEY_STREAM_CAPTURE_SINK, "true",
                                                            PW_KEY_NODE_LATENCY, "480/24000", nullptr),
                                          &streamEvents(), &capture);
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_S16_LE;
    format.rate = 24'000;
    format.channels = 1;
    format.position[0] = SPA_AUDIO_CHANNEL_MONO;
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    constexpr auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS);
    pw_stream_connect(capture.stream, PW_DIRECTION_INPUT, PW_ID_ANY, flags, &parameter, 1);
    pw_main_loop_run(capture.loop);
    pw_stream_destroy(capture.stream);
    pw_main_loop_destroy(capture.loop);
    pw_deinit();
}

} // namespace quorvel::bench
