#pragma once

#include "answers/Answerer.h"
#include "http/RestApi.h"
#include "realtime/RealtimeSession.h"
#include "speech/Recognizer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cstddef>
#include <memory>
#include <set>

namespace quorvel::localbackend {

/// Accepts connections and serves each: REST requests, or the upgrade to a realtime session. Everything runs on the one
/// thread that runs the io_context.
class Server
{
public:
    static constexpr std::size_t mostConnections = 512;
    static constexpr std::size_t mostSessions = 64;

    /// What the server uses; all of it has to live until the io_context is done with the server's work.
    struct Parts
    {
        RestApi& api;
        RealtimeServices realtime;
    };

    Server(boost::asio::io_context& context, boost::asio::ip::tcp::acceptor acceptor, Parts parts);

    /// Begins to accept.
    void start();

    /// Stops accepting, closes realtime sessions with code 1001 and idle connections at once. The io_context runs out
    /// of work within a few seconds.
    void stop();

    /// Where it listens.
    [[nodiscard]] boost::asio::ip::tcp::endpoint endpoint() const;

private:
    struct Connection;

    [[nodiscard]] boost::asio::awaitable<void> acceptConnections();
    [[nodiscard]] boost::asio::awaitable<void> serve(std::shared_ptr<Connection> connection);
    [[nodiscard]] boost::asio::awaitable<bool> serveRequest(std::shared_ptr<Connection> connection);
    [[nodiscard]] boost::asio::awaitable<bool> answer(std::shared_ptr<Connection> connection, HttpResponse response,
                                                      bool keepAlive);
    [[nodiscard]] boost::asio::awaitable<bool> refuseUnread(std::shared_ptr<Connection> connection,
                                                            HttpResponse response);
    [[nodiscard]] boost::asio::awaitable<void> serveRealtime(std::shared_ptr<Connection> connection,
                                                             HttpRequest upgrade);
    [[nodiscard]] std::optional<HttpResponse> refuseUpgrade(const HttpRequest& request) const;

    boost::asio::io_context& m_context;
    boost::asio::ip::tcp::acceptor m_acceptor;
    Parts m_parts;
    std::set<std::shared_ptr<Connection>> m_connections;
    std::set<std::shared_ptr<RealtimeSession>> m_sessions;
    bool m_stopping = false;
};

} // namespace quorvel::localbackend
