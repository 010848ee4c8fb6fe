// Streams one recording in real time to a running backend over many connections at once, and reports what each saw.
//
//     load_sessions PORT SESSIONS SECONDS RECORDING
//
// The backend has to run with --disable-auth. The recording (24 kHz, mono, 16 bits) is repeated until the time is up.

#include "SoundFile.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <boost/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace asio = boost::asio;
namespace beast = boost::beast;
using namespace quorvel::localbackend;

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t frame = 480; // 20 ms
constexpr const char* start =
    R"({"type":"session.start","context":{"userRole":"Candidate","meetingGoal":"","tone":"concise","resumeSummary":"Led a team.",)"
    R"("jobDescription":"Lead a team.","sessionMode":"HR","keyterms":[]},"source":{"id":"window-1","kind":"Window","title":"t",)"
    R"("applicationName":"a"},"audio":{"format":"pcm16","sampleRate":24000,"channels":1}})";

struct Session
{
    explicit Session(asio::io_context& context)
        : socket(context)
        , timer(context)
    {
    }
    beast::websocket::stream<beast::tcp_stream> socket;
    asio::steady_timer timer;
    int partials = 0;
    int finals = 0;
    int suggestions = 0;
    int ticks = 0;
    std::int64_t worstLatency = 0;
    std::vector<std::string> notices;
    bool dropped = false;
    bool done = false;
};

void take(Session& session, const boost::json::object& message)
{
    const auto& type = message.at("type").as_string();
    if (type == "transcript.delta") {
        ++session.partials;
    } else if (type == "transcript.final") {
        ++session.finals;
    } else if (type == "suggestion.update") {
        ++session.suggestions;
    } else if (type == "diagnostic.tick") {
        ++session.ticks;
        if (const auto* latency = message.if_contains("latencyMs"))
            session.worstLatency = std::max(session.worstLatency, latency->as_int64());
    } else if (const auto* notice = message.if_contains("message")) {
        session.notices.emplace_back(notice->as_string());
    }
}

asio::awaitable<void> receive(std::shared_ptr<Session> session)
{
    for (;;) {
        beast::flat_buffer buffer;
        const auto [error, size] = co_await session->socket.async_read(buffer, asTuple);
        if (error) {
            session->dropped = !session->done;
            co_return;
        }
        take(*session, boost::json::parse(beast::buffers_to_string(buffer.data())).as_object());
    }
}

asio::awaitable<void> stream(std::shared_ptr<Session> session, unsigned short port, std::chrono::seconds time,
                             const std::vector<std::int16_t>* samples, std::size_t offset)
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
    auto [error] = co_await beast::get_lowest_layer(session->socket).async_connect(endpoint, asTuple);
    if (!error)
        std::tie(error) = co_await session->socket.async_handshake("127.0.0.1", "/ws/realtime", asTuple);
    if (error) {
        session->dropped = true;
        co_return;
    }
    const asio::const_buffer opening(start, std::char_traits<char>::length(start));
    co_await session->socket.async_write(opening, asTuple);
    asio::co_spawn(session->socket.get_executor(), receive(session), asio::detached);
    session->socket.binary(true);
    const auto begin = std::chrono::steady_clock::now();
    std::size_t at = offset;
    for (auto due = begin; due < begin + time && !session->dropped; due += std::chrono::milliseconds{20}) {
        session->timer.expires_at(due);
        co_await session->timer.async_wait(asTuple);
        if (at + frame > samples->size())
            at = 0;
        const asio::const_buffer sound(samples->data() + at, frame * 2);
        at += frame;
        const auto [writeError, size] = co_await session->socket.async_write(sound, asTuple);
        if (writeError)
            session->dropped = true;
    }
    session->done = true;
    co_await session->socket.async_close(beast::websocket::close_code::going_away, asTuple);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: load_sessions PORT SESSIONS SECONDS RECORDING\n");
        return 2;
    }
    const auto port = static_cast<unsigned short>(std::atoi(argv[1]));
    const std::chrono::seconds time{std::atoi(argv[3])};
    const auto samples = readRecording(argv[4]);
    asio::io_context context(1);
    std::vector<std::shared_ptr<Session>> sessions;
    for (int i = 0; i < std::atoi(argv[2]); ++i) {
        auto session = std::make_shared<Session>(context);
        sessions.push_back(session);
        const std::size_t offset = static_cast<std::size_t>(i) * samples.size() / 20 / frame * frame;
        asio::co_spawn(context, stream(std::move(session), port, time, &samples, offset), asio::detached);
    }
    context.run();
    int dropped = 0;
    for (const auto& session : sessions) {
        std::printf("partials %4d  finals %3d  suggestions %3d  ticks %3d  worst latency %5lld ms  notices %zu%s%s\n",
                    session->partials, session->finals, session->suggestions, session->ticks,
                    static_cast<long long>(session->worstLatency), session->notices.size(),
                    session->notices.empty() ? "" : ": ",
                    session->notices.empty() ? "" : session->notices.back().c_str());
        dropped += session->dropped ? 1 : 0;
    }
    std::printf("sessions %zu, dropped %d\n", sessions.size(), dropped);
    return dropped == 0 ? 0 : 1;
}
