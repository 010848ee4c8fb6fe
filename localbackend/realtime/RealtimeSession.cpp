#include "realtime/RealtimeSession.h"

#include "support/OnPool.h"
#include "support/Text.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <cstring>
#include <utility>

namespace quorvel::localbackend {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::chrono::seconds closeGrace{2};
/// Sound that stops coming ends the phrase under way, as a pause in it would.
constexpr std::chrono::milliseconds soundTimeout{1200};

} // namespace

/// What answers the session's utterances; touched on the answering strand only, where work runs in the order it came.
struct RealtimeSession::AnswerDesk
{
    std::shared_ptr<const BriefedAnswerer> answers;
};

RealtimeSession::RealtimeSession(beast::tcp_stream stream, RealtimeServices services)
    : m_socket(std::move(stream))
    , m_services(std::move(services))
    , m_answerStrand(asio::make_strand(m_services.workers.get_executor()))
    , m_desk(std::make_shared<AnswerDesk>())
    , m_ticker(m_socket.get_executor())
    , m_cutOff(m_socket.get_executor())
{
}

void RealtimeSession::setSocketLimits()
{
    beast::get_lowest_layer(m_socket).expires_never();
    websocket::stream_base::timeout timeouts{};
    timeouts.handshake_timeout = closeGrace; // used for the close handshake; the opening one has been read already
    timeouts.idle_timeout = std::chrono::seconds{20};
    timeouts.keep_alive_pings = true;
    m_socket.set_option(timeouts);
    m_socket.read_message_max(mostMessageBytes);
    m_socket.text(true);
}

asio::awaitable<void> RealtimeSession::run(Upgrade upgrade)
{
    const auto self = shared_from_this();
    setSocketLimits();
    const auto [error] = co_await m_socket.async_accept(upgrade, asTuple);
    if (error) {
        m_services.log.debug("A WebSocket handshake failed: " + error.message());
        co_return;
    }
    m_open = true;
    m_services.log.info("A realtime connection opened.");
    if (m_closeCode)
        startClosing();
    send(Outbox::Kind::Ordinary, statusMessage("idle", Transcriber::Waiting, ""));
    asio::co_spawn(m_socket.get_executor(), tickEachSecond(), asio::detached);
    auto reading = readMessages();
    co_await std::move(reading);
    if (m_phase != Phase::Closing) {
        m_phase = Phase::Closing;
        m_stream.reset();
        m_ticker.cancel();
    }
    m_services.log.info("A realtime connection ended after " + std::to_string(m_diagnostics.audioBytes) +
                        " bytes of sound.");
}

asio::awaitable<void> RealtimeSession::readMessages()
{
    const auto self = shared_from_this();
    while (m_phase != Phase::Closing) {
        const auto [error, size] = co_await m_socket.async_read(m_buffer, asTuple);
        if (error) {
            m_services.log.debug("Reading ended: " + error.message());
            co_return;
        }
        const auto data = m_buffer.cdata();
        if (m_socket.got_text())
            takeControl({static_cast<const char*>(data.data()), data.size()});
        else
            takeAudio({static_cast<const unsigned char*>(data.data()), data.size()});
        m_buffer.consume(size);
    }
}

void RealtimeSession::takeControl(std::string_view text)
{
    auto message = parseClientMessage(text);
    if (!message) {
        if (m_phase == Phase::Running)
            send(Outbox::Kind::Ordinary, errorMessage(Severity::Recoverable, message.error().sentence));
        else
            fail(message.error().sentence);
        return;
    }
    if (auto* startMessage = std::get_if<SessionStart>(&*message)) {
        start(std::move(startMessage->context));
    } else if (auto* update = std::get_if<ContextUpdate>(&*message)) {
        if (m_phase == Phase::Running)
            prepareAnswers(std::move(update->context));
    } else {
        stop();
    }
}

void RealtimeSession::start(MeetingContext context)
{
    if (m_phase == Phase::Running) {
        send(Outbox::Kind::Ordinary, errorMessage(Severity::Recoverable, "The session is already running."));
        return;
    }
    send(Outbox::Kind::Ordinary, statusMessage("starting", Transcriber::Connecting, ""));
    m_diagnostics = {};
    m_shownPartial.clear();
    m_earlierText.clear();
    prepareAnswers(std::move(context));

    const std::uint64_t number = ++m_streamNumber;
    m_stream = m_services.recognizer.open(
        [weak = weak_from_this(), executor = m_socket.get_executor(), number](RecognitionEvent event) {
            asio::post(executor, [weak, number, event = std::move(event)] {
                const auto self = weak.lock();
                if (self && self->m_streamNumber == number && self->m_phase != Phase::Closing)
                    self->takeRecognition(event);
            });
        });
    m_phase = Phase::Running;
    send(Outbox::Kind::Ordinary, statusMessage("running", Transcriber::Connected, ""));
}

void RealtimeSession::stop()
{
    if (m_phase != Phase::Running)
        return;
    m_phase = Phase::Stopped;
    // The phrase under way still becomes a final line if the peer stays to read it.
    m_stream->pause();
    send(Outbox::Kind::Ordinary, statusMessage("stopped", Transcriber::Closed, ""));
}

void RealtimeSession::takeAudio(std::span<const unsigned char> bytes)
{
    if (m_phase == Phase::Stopped || bytes.empty())
        return;
    if (m_phase != Phase::Running) {
        fail("Sound came before the session was started.");
        return;
    }
    if (bytes.size() % 2 != 0) {
        send(Outbox::Kind::Ordinary,
             errorMessage(Severity::Recoverable, "A frame of sound does not hold whole 16-bit samples."));
        return;
    }
    m_diagnostics.audioBytes += static_cast<std::int64_t>(bytes.size());
    m_diagnostics.lastAudioAt = m_services.clock.wall();
    m_lastAudio = m_services.clock.steady();
    m_soundUnderWay = true;
    std::vector<std::int16_t> samples(bytes.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
    m_stream->feed(std::move(samples), m_lastAudio);
}

void RealtimeSession::takeRecognition(const RecognitionEvent& event)
{
    const auto latency =
        std::chrono::duration_cast<std::chrono::milliseconds>(m_services.clock.steady() - event.audioArrival);
    switch (event.kind) {
    case RecognitionEvent::Kind::Partial:
        m_diagnostics.latencyMs = latency.count();
        takePartial(event.text);
        break;
    case RecognitionEvent::Kind::Final:
        m_diagnostics.latencyMs = latency.count();
        ++m_diagnostics.commits;
        takeFinal(event.text);
        break;
    case RecognitionEvent::Kind::Nothing:
        ++m_diagnostics.commits;
        if (!m_shownPartial.empty())
            takePartial("");
        break;
    case RecognitionEvent::Kind::Skipped:
        m_skipping = true;
        send(Outbox::Kind::Ordinary,
             statusMessage("running", Transcriber::Connected,
                           "The server is busy: " + std::to_string((event.skipped.count() + 500) / 1000) +
                               " seconds of sound were not transcribed."));
        break;
    case RecognitionEvent::Kind::CaughtUp:
        if (std::exchange(m_skipping, false))
            send(Outbox::Kind::Ordinary, statusMessage("running", Transcriber::Connected, ""));
        break;
    case RecognitionEvent::Kind::Failed:
        send(Outbox::Kind::Ordinary, statusMessage("error", Transcriber::Error, ""));
        fail(event.text);
        break;
    }
}

void RealtimeSession::takePartial(const std::string& text)
{
    m_diagnostics.lastTranscriptAt = m_services.clock.wall();
    const std::string_view added = text.starts_with(m_shownPartial)
                                       ? trimmed(std::string_view(text).substr(m_shownPartial.size()))
                                       : std::string_view{};
    send(Outbox::Kind::Delta, deltaMessage(added, text));
    m_shownPartial = text;
}

void RealtimeSession::takeFinal(const std::string& text)
{
    const SteadyTime now = m_services.clock.steady();
    m_diagnostics.lastTranscriptAt = m_services.clock.wall();
    m_shownPartial.clear();
    send(Outbox::Kind::Ordinary, finalMessage(text));

    if (now - m_earlierTime > utteranceGap || m_earlierText.size() > longestUtterance)
        m_earlierText.clear();
    asio::co_spawn(m_socket.get_executor(), suggestAnswer(text, m_earlierText), asio::detached);
    m_earlierText += (m_earlierText.empty() ? "" : " ") + text;
    m_earlierTime = now;
}

void RealtimeSession::prepareAnswers(MeetingContext context)
{
    asio::post(m_answerStrand,
               [desk = m_desk, &answerer = m_services.answerer, context = std::move(context)]() mutable {
                   desk->answers = answerer.brief(std::move(context));
               });
}

asio::awaitable<void> RealtimeSession::suggestAnswer(std::string utterance, std::string earlier)
{
    const auto self = shared_from_this();
    std::function<Suggestion()> job = [desk = m_desk, &utterance, &earlier] {
        return desk->answers->answer(utterance, earlier);
    };
    auto work = runOn<Suggestion>(m_answerStrand, std::move(job));
    const Suggestion suggestion = co_await std::move(work);
    // An update replaces what the user may be reading aloud: an aside ("okay, great") must not wipe it out.
    const bool aside = suggestion.intent == Intent::Unknown || suggestion.intent == Intent::SmallTalk;
    if (suggestion.shouldRespond || !aside)
        send(Outbox::Kind::Ordinary, suggestionMessage(suggestion));
}

asio::awaitable<void> RealtimeSession::tickEachSecond()
{
    const auto self = shared_from_this();
    auto next = std::chrono::steady_clock::now();
    while (m_phase != Phase::Closing) {
        next += std::chrono::seconds{1};
        m_ticker.expires_at(next);
        const auto [error] = co_await m_ticker.async_wait(asTuple);
        if (error)
            co_return;
        if (m_phase != Phase::Running)
            continue;
        if (m_soundUnderWay && m_services.clock.steady() - m_lastAudio > soundTimeout) {
            m_soundUnderWay = false;
            m_stream->pause();
        }
        send(Outbox::Kind::Tick, diagnosticMessage(m_diagnostics));
    }
}

void RealtimeSession::send(Outbox::Kind kind, std::string message)
{
    if (m_phase == Phase::Closing)
        return;
    if (!m_outbox.push(kind, std::move(message))) {
        drop("a peer does not read");
        return;
    }
    if (!std::exchange(m_writing, true))
        asio::co_spawn(m_socket.get_executor(), writeMessages(), asio::detached);
}

asio::awaitable<void> RealtimeSession::writeMessages()
{
    const auto self = shared_from_this();
    while (!m_outbox.isEmpty()) {
        const std::string message = m_outbox.pop();
        const asio::const_buffer buffer(message.data(), message.size());
        const auto [error, size] = co_await m_socket.async_write(buffer, asTuple);
        if (error) {
            m_services.log.debug("Writing ended: " + error.message());
            drop("writing failed");
            co_return;
        }
    }
    if (m_closeCode) {
        const websocket::close_reason reason(*m_closeCode);
        co_await m_socket.async_close(reason, asTuple);
        m_cutOff.cancel();
    }
    m_writing = false;
}

void RealtimeSession::close(websocket::close_code code)
{
    if (m_phase == Phase::Closing)
        return;
    m_phase = Phase::Closing;
    m_closeCode = code;
    m_stream.reset();
    m_ticker.cancel();
    // Nothing but the handshake's answer may be written before it is complete.
    if (m_open)
        startClosing();
}

void RealtimeSession::startClosing()
{
    // The writer closes after it has sent what waits; a peer that takes neither is cut off.
    asio::co_spawn(m_socket.get_executor(), cutOffLater(), asio::detached);
    if (!std::exchange(m_writing, true))
        asio::co_spawn(m_socket.get_executor(), writeMessages(), asio::detached);
}

asio::awaitable<void> RealtimeSession::cutOffLater()
{
    const auto self = shared_from_this();
    m_cutOff.expires_after(closeGrace);
    const auto [error] = co_await m_cutOff.async_wait(asTuple);
    if (!error)
        beast::get_lowest_layer(m_socket).close();
}

void RealtimeSession::fail(std::string_view sentence)
{
    send(Outbox::Kind::Ordinary, errorMessage(Severity::Fatal, sentence));
    close(websocket::close_code::policy_error);
}

void RealtimeSession::shutDown()
{
    close(websocket::close_code::going_away);
}

void RealtimeSession::drop(std::string_view reason)
{
    if (m_phase == Phase::Closing)
        return;
    m_phase = Phase::Closing;
    m_stream.reset();
    m_ticker.cancel();
    m_services.log.warning("A realtime connection was dropped: " + std::string(reason) + ".");
    beast::get_lowest_layer(m_socket).close();
}

} // namespace quorvel::localbackend
