#include "capture/ImpulsePlayer.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace quorvel::bench {

namespace {

constexpr std::uint32_t rate = 48'000;
constexpr std::uint32_t channels = 2;
/// Enough for it to be seen after the rate has been halved.
constexpr std::uint32_t framesOfImpulse = 8;

struct Player
{
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    std::size_t left = 0;
    std::uint32_t framesBetweenImpulses = 0;
    std::uint32_t framesUntilImpulse = 0;

    void process()
    {
        pw_buffer* buffer = pw_stream_dequeue_buffer(stream);
        if (buffer == nullptr) {
            return;
        }
        spa_data& data = buffer->buffer->datas[0];
        constexpr std::uint32_t stride = channels * sizeof(float);
        const std::uint32_t room = data.maxsize / stride;
        const std::uint32_t frames =
            buffer->requested != 0 ? std::min(room, static_cast<std::uint32_t>(buffer->requested)) : room;
        std::memset(data.data, 0, std::size_t{frames} * stride);
        if (framesUntilImpulse <= frames && left > 0) {
            // At the start of a buffer: the moment is that of the hand-over.
            std::fill_n(static_cast<float*>(data.data), channels * std::min(frames, framesOfImpulse), 0.9F);
            const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
            std::printf("%lld\n", static_cast<long long>(now.count()));
            std::fflush(stdout);
            framesUntilImpulse += framesBetweenImpulses;
            --left;
        } else if (framesUntilImpulse <= frames) {
            pw_main_loop_quit(loop);
        }
        framesUntilImpulse -= std::min(frames, framesUntilImpulse);
        data.chunk->offset = 0;
        data.chunk->stride = static_cast<std::int32_t>(stride);
        data.chunk->size = frames * stride;
        pw_stream_queue_buffer(stream, buffer);
    }
};

const pw_stream_events& streamEvents()
{
    static const pw_stream_events events = [] {
        pw_stream_events table{};
        table.version = PW_VERSION_STREAM_EVENTS;
        table.process = [](void* data) { static_cast<Player*>(data)->process(); };
        return table;
    }();
    return events;
}

} // namespace

void playImpulses(std::size_t count, std::chrono::milliseconds interval)
{
    pw_init(nullptr, nullptr);
    Player player;
    player.left = count;
    player.framesBetweenImpulses = static_cast<std::uint32_t>(interval.count()) * rate / 1000;
    player.loop = pw_main_loop_new(nullptr);
    player.stream =
        pw_stream_new_simple(pw_main_loop_get_loop(player.loop), "impulses",
                             pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", nullptr),
                             &streamEvents(), &player);
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = rate;
    format.channels = channels;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    constexpr auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS);
    pw_stream_connect(player.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &parameter, 1);
    pw_main_loop_run(player.loop);
    pw_stream_destroy(player.stream);
    pw_main_loop_destroy(player.loop);
    pw_deinit();
}

} // namespace quorvel::bench
