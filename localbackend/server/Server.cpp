#include "server/Server.h"

#include "http/Form.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <utility>

namespace quorvel::localbackend {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::string_view realtimePath = "/ws/realtime";
constexpr std::uint32_t mostHeaderBytes = 16 * 1024;
/// A kept-alive connection may be quiet for longer than a request may take to arrive.
constexpr std::chrono::seconds idleTimeout{60};
constexpr std::chrono::seconds bodyTimeout{60};
constexpr std::chrono::seconds writeTimeout{30};
/// How much of a refused body is read so that the peer gets to see the answer before the connection ends.
constexpr std::size_t mostDiscardedBytes = std::size_t{32} * 1024 * 1024;
constexpr std::chrono::seconds discardTimeout{5};

} // namespace

struct Server::Connection
{
    explicit Connection(tcp::socket socket)
        : stream(std::move(socket))
    {
    }

    beast::tcp_stream stream;
    beast::flat_buffer buffer{std::size_t{64} * 1024};
};

Server::Server(asio::io_context& context, tcp::acceptor acceptor, Parts parts)
    : m_context(context)
    , m_acceptor(std::move(acceptor))
    , m_parts(std::move(parts))
{
}

void Server::start()
{
    asio::co_spawn(m_context, acceptConnections(), asio::detached);
}

void Server::stop()
{
    if (std::exchange(m_stopping, true))
        return;
    boost::system::error_code ignored;
    ignored = m_acceptor.close(ignored);
    const auto sessions = m_sessions;
    for (const auto& session : sessions)
        session->shutDown();
    const auto connections = m_connections;
    for (const auto& connection : connections)
        connection->stream.close();
}

tcp::endpoint Server::endpoint() const
{
    boost::system::error_code error;
    return m_acceptor.local_endpoint(error);
}

asio::awaitable<void> Server::acceptConnections()
{
    asio::steady_timer pause(m_context);
    while (!m_stopping) {
        auto [error, socket] = co_await m_acceptor.async_accept(asTuple);
        if (m_stopping)
            co_return;
        if (error) {
            // Out of descriptors, most likely: without a pause this loop would spin.
            m_parts.realtime.log.warning("Accepting a connection failed: " + error.message());
            pause.expires_after(std::chrono::milliseconds{200});
            co_await pause.async_wait(asTuple);
            continue;
        }
        if (m_connections.size() + m_sessions.size() >= mostConnections) {
            m_parts.realtime.log.warning("A connection was refused: there are too many.");
            continue;
        }
        const tcp::no_delay noDelay(true);
        error = socket.set_option(noDelay, error);
        auto connection = std::make_shared<Connection>(std::move(socket));
        m_connections.insert(connection);
        asio::co_spawn(m_context, serve(std::move(connection)), asio::detached);
    }
}

asio::awaitable<void> Server::serve(std::shared_ptr<Connection> connection)
{
    for (bool goOn = true; goOn && !m_stopping;) {
        auto request = serveRequest(connection);
        goOn = co_await std::move(request);
    }
    // A realtime session has taken the stream of a connection that is no longer listed.
    if (m_connections.erase(connection) != 0) {
        boost::system::error_code ignored;
        ignored = connection->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }
}

/// Reads one request and answers it; true when the connection can take another.
asio::awaitable<bool> Server::serveRequest(std::shared_ptr<Connection> connection)
{
    http::request_parser<http::string_body> parser;
    parser.header_limit(mostHeaderBytes);
    parser.body_limit(boost::none);
    connection->stream.expires_after(idleTimeout);
    const auto [headerError, headerSize] =
        co_await http::async_read_header(connection->stream, connection->buffer, parser, asTuple);
    if (headerError) {
        if (headerError == http::error::end_of_stream ||
            headerError.category() != http::make_error_code(http::error::end_of_stream).category())
            co_return false;
        const bool tooLong = headerError == http::error::header_limit || headerError == http::error::buffer_overflow;
        auto response =
            textResponse(tooLong ? http::status::request_header_fields_too_large : http::status::bad_request,
                         tooLong ? "The request's header is larger than 16 KB." : "The request is not valid HTTP.");
        auto refusal = refuseUnread(connection, std::move(response));
        co_return co_await std::move(refusal);
    }

    if (pathOf(parser.get().target()) == realtimePath) {
        auto realtime = serveRealtime(connection, parser.release());
        co_await std::move(realtime);
        co_return false;
    }
    if (auto response = RestApi::refuse(parser.get())) {
        auto refusal = refuseUnread(connection, std::move(*response));
        co_return co_await std::move(refusal);
    }
    if (beast::iequals(parser.get()[http::field::expect], "100-continue")) {
        http::response<http::empty_body> goAhead{http::status::continue_, 11};
        co_await http::async_write(connection->stream, goAhead, asTuple);
    }
    parser.body_limit(RestApi::bodyLimit(parser.get()));
    connection->stream.expires_after(bodyTimeout);
    const auto [bodyError, bodySize] =
        co_await http::async_read(connection->stream, connection->buffer, parser, asTuple);
    if (bodyError) {
        const bool tooLarge = bodyError == http::error::body_limit;
        if (!tooLarge && bodyError.category() != http::make_error_code(http::error::end_of_stream).category())
            co_return false;
        auto response =
            textResponse(tooLarge ? http::status::payload_too_large : http::status::bad_request,
                         tooLarge ? RestApi::tooLargeSentence(parser.get()) : "The request's body is not valid HTTP.");
        auto refusal = refuseUnread(connection, std::move(response));
        co_return co_await std::move(refusal);
    }

    const bool keepAlive = parser.keep_alive();
    connection->stream.expires_never();
    auto handling = m_parts.api.handle(parser.release());
    auto response = co_await std::move(handling);
    auto answering = answer(connection, std::move(response), keepAlive);
    co_return co_await std::move(answering);
}

asio::awaitable<bool> Server::answer(std::shared_ptr<Connection> connection, HttpResponse response, bool keepAlive)
{
    response.keep_alive(keepAlive);
    connection->stream.expires_after(writeTimeout);
    const auto [error, size] = co_await http::async_write(connection->stream, response, asTuple);
    co_return !error && keepAlive;
}

/// Answers a request whose body has not been read, and ends the connection. A peer that is still sending would lose the
/// answer to a connection reset, so some of what it sends is read and thrown away.
asio::awaitable<bool> Server::refuseUnread(std::shared_ptr<Connection> connection, HttpResponse response)
{
    auto answering = answer(connection, std::move(response), false);
    co_await std::move(answering);
    boost::system::error_code ignored;
    ignored = connection->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    connection->stream.expires_after(discardTimeout);
    for (std::size_t discarded = 0; discarded < mostDiscardedBytes;) {
        connection->buffer.clear();
        const auto space = connection->buffer.prepare(connection->buffer.max_size());
        const auto [error, size] = co_await connection->stream.async_read_some(space, asTuple);
        if (error)
            break;
        discarded += size;
    }
    co_return false;
}

std::optional<HttpResponse> Server::refuseUpgrade(const HttpRequest& request) const
{
    if (request.method() != http::verb::get) {
        auto response = textResponse(http::status::method_not_allowed, "This address takes GET only.");
        response.set(http::field::allow, "GET");
        return response;
    }
    if (auto refusal = RestApi::refuseOrigin(request))
        return refusal;
    if (!beast::websocket::is_upgrade(request)) {
        auto response = textResponse(http::status::upgrade_required, "This address takes WebSocket connections only.");
        response.set(http::field::upgrade, "websocket");
        return response;
    }
    const auto query = parseForm(queryOf(request.target()));
    if (!query)
        return failureResponse({Fault::Invalid, "The address's query is not readable."});
    if (!m_parts.api.userOf(formValue(*query, "token")))
        return failureResponse({Fault::Unauthorized, "You are not signed in."});
    if (m_sessions.size() >= mostSessions)
        return failureResponse({Fault::TooMany, "Too many sessions are open."});
    return std::nullopt;
}

asio::awaitable<void> Server::serveRealtime(std::shared_ptr<Connection> connection, HttpRequest upgrade)
{
    if (auto response = refuseUpgrade(upgrade)) {
        auto refusal = refuseUnread(connection, std::move(*response));
        co_await std::move(refusal);
        co_return;
    }
    auto session = std::make_shared<RealtimeSession>(std::move(connection->stream), m_parts.realtime);
    m_connections.erase(connection);
    m_sessions.insert(session);
    auto running = session->run(std::move(upgrade));
    co_await std::move(running);
    m_sessions.erase(session);
}

} // namespace quorvel::localbackend
