#pragma once

#include "answers/Answerer.h"
#include "realtime/Messages.h"
#include "realtime/Outbox.h"
#include "speech/Recognizer.h"
#include "support/Log.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace quorvel::localbackend {

/// What every session uses and none owns.
struct RealtimeServices
{
    Recognizer& recognizer;
    const Answerer& answerer;
    boost::asio::thread_pool& workers; ///< where answers are worked out
    Clock clock;
    const Log& log;
};

/// One realtime connection, from its WebSocket handshake to its end. Lives on the network thread; the recogniser's
/// events and the answers come back to that thread.
class RealtimeSession : public std::enable_shared_from_this<RealtimeSession>
{
public:
    using Socket = boost::beast::websocket::stream<boost::beast::tcp_stream>;
    using Upgrade = boost::beast::http::request<boost::beast::http::string_body>;

    /// The largest message taken; a larger one ends the connection with code 1009.
    static constexpr std::size_t mostMessageBytes = std::size_t{1024} * 1024;
    /// Texts that rest on phrases this far apart belong to one utterance.
    static constexpr std::chrono::seconds utteranceGap{4};
    static constexpr std::size_t longestUtterance = 1200;

    RealtimeSession(boost::beast::tcp_stream stream, RealtimeServices services);

    /// Answers the handshake, serves the session, returns when the connection is over.
    [[nodiscard]] boost::asio::awaitable<void> run(Upgrade upgrade);

    /// Ends the connection with close code 1001 because the server stops. A peer that does not answer the close is cut
    /// off after two seconds.
    void shutDown();

private:
    struct AnswerDesk;
    enum class Phase : std::uint8_t { Idle, Running, Stopped, Closing };

    [[nodiscard]] boost::asio::awaitable<void> readMessages();
    [[nodiscard]] boost::asio::awaitable<void> writeMessages();
    [[nodiscard]] boost::asio::awaitable<void> tickEachSecond();
    [[nodiscard]] boost::asio::awaitable<void> cutOffLater();
    [[nodiscard]] boost::asio::awaitable<void> suggestAnswer(std::string utterance, std::string earlier);

    void setSocketLimits();
    void prepareAnswers(MeetingContext context);
    void takeControl(std::string_view text);
    void takeAudio(std::span<const unsigned char> bytes);
    void start(MeetingContext context);
    void stop();
    void takeRecognition(const RecognitionEvent& event);
    void takePartial(const std::string& text);
    void takeFinal(const std::string& text);
    void send(Outbox::Kind kind, std::string message);
    void fail(std::string_view sentence);
    void close(boost::beast::websocket::close_code code);
    void startClosing();
    void drop(std::string_view reason);

    Socket m_socket;
    RealtimeServices m_services;
    boost::asio::strand<boost::asio::thread_pool::executor_type> m_answerStrand;
    std::shared_ptr<AnswerDesk> m_desk;
    boost::asio::steady_timer m_ticker;
    boost::asio::steady_timer m_cutOff;
    boost::beast::flat_buffer m_buffer;
    Outbox m_outbox;
    bool m_open = false; ///< the handshake is complete
    bool m_writing = false;
    Phase m_phase = Phase::Idle;
    std::optional<boost::beast::websocket::close_code> m_closeCode;
    Diagnostics m_diagnostics;
    SteadyTime m_lastAudio;
    bool m_soundUnderWay = false;
    bool m_skipping = false;
    std::unique_ptr<RecognitionStream> m_stream;
    std::uint64_t m_streamNumber = 0; ///< tells events of an ended stream from those of the current one
    std::string m_shownPartial;
    std::string m_earlierText;
    SteadyTime m_earlierTime;
};

} // namespace quorvel::localbackend
