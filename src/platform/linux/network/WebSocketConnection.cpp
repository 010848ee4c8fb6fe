#include "platform/linux/network/WebSocketConnection.h"

#include "platform/linux/network/NetworkSentences.h"
#include "platform/linux/network/SystemProxy.h"

#include <QCoreApplication>
#include <QSslSocket>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/websocket/error.hpp>
#include <boost/beast/websocket/option.hpp>

#include <algorithm>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::platform {

namespace {

namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

/// What the socket reads ahead. More than this stays with the kernel, whose flow control then slows the server down.
constexpr qint64 readAheadBytes = qint64{64} << 10U;

bool isSecure(const QUrl& url)
{
    return url.scheme() == "wss"_L1;
}

/// The Host header: the port only where it is not the scheme's own (RFC 6455, 4.1).
std::string hostHeader(const QUrl& url)
{
    const int usualPort = isSecure(url) ? 443 : 80;
    QString host = url.host(QUrl::FullyEncoded);
    if (host.contains(u':')) {
        host = u'[' + host + u']';
    }
    if (const int port = url.port(usualPort); port != usualPort) {
        host += u':' + QString::number(port);
    }
    return host.toStdString();
}

std::string requestTarget(const QUrl& url)
{
    QString target = url.path(QUrl::FullyEncoded);
    if (target.isEmpty()) {
        target = u"/"_s;
    }
    if (url.hasQuery()) {
        target += u'?' + url.query(QUrl::FullyEncoded);
    }
    return target.toStdString();
}

void addUserAgent(websocket::request_type& request)
{
    const QString program = QCoreApplication::applicationName() + u'/' + QCoreApplication::applicationVersion();
    request.set(http::field::user_agent, program.toStdString());
}

/// Whether the server broke the protocol, as against the network having failed.
bool isProtocolFault(const boost::system::error_code& error)
{
    return error == websocket::condition::protocol_violation || error == websocket::error::message_too_big ||
           error == websocket::error::bad_frame_payload || error == websocket::error::bad_close_payload;
}

} // namespace

std::shared_ptr<WebSocketConnection> WebSocketConnection::create(QUrl url, std::weak_ptr<WebSocketDelegate> delegate,
                                                                 NetworkLimits limits,
                                                                 std::weak_ptr<RunningConnections> running)
{
    return std::shared_ptr<WebSocketConnection>(
        new WebSocketConnection(std::move(url), std::move(delegate), limits, std::move(running)));
}

WebSocketConnection::WebSocketConnection(QUrl url, std::weak_ptr<WebSocketDelegate> delegate, NetworkLimits limits,
                                         std::weak_ptr<RunningConnections> running)
    : m_url(std::move(url))
    , m_delegate(std::move(delegate))
    , m_limits(limits)
    , m_running(std::move(running))
    , m_outgoing(limits.sendQueueBytes)
    , m_incoming(limits.unreadBytes)
    , m_heartbeat(limits.pingInterval, limits.pongTimeout,
                  {.ask = [this] { ping(); },
                   .giveUp = [this] { fail(connectionLostSentence()); },
                   .bytesReceived = [this] { return m_stream->next_layer().bytesRead(); }})
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        if (m_state == State::connecting) {
            fail(timeoutSentence());
        } else {
            dropSocket();
        }
    });
}

WebSocketConnection::~WebSocketConnection()
{
    // An open socket tells of its end while it is destroyed.
    if (m_socket) {
        m_socket->disconnect(this);
    }
}

void WebSocketConnection::resume()
{
    const std::shared_ptr<RunningConnections> running = m_running.lock();
    if (m_state != State::idle || !running) {
        return;
    }
    m_state = State::connecting;
    running->add(shared_from_this());
    m_patience.start(m_limits.handshakeTimeout);
    launch(openThroughProxy(shared_from_this()));
}

Task<> WebSocketConnection::openThroughProxy(std::shared_ptr<WebSocketConnection> self)
{
    Task<Result<QNetworkProxy>> lookup = systemProxy(self->m_url);
    const Result<QNetworkProxy> proxy = co_await lookup;
    if (self->m_state != State::connecting) {
        co_return;
    }
    if (proxy) {
        self->connectSocket(*proxy);
    } else {
        self->fail(proxy.error().description);
    }
}

void WebSocketConnection::connectSocket(const QNetworkProxy& proxy)
{
    const QString host = m_url.host();
    if (isSecure(m_url)) {
        auto socket = std::make_unique<QSslSocket>();
        connect(socket.get(), &QSslSocket::encrypted, this, &WebSocketConnection::startHandshake);
        connect(socket.get(), &QSslSocket::sslErrors, this,
                [this](const QList<QSslError>& faults) { m_certificateFaults = faults; });
        m_socket = std::move(socket);
    } else {
        m_socket = std::make_unique<QTcpSocket>();
        connect(m_socket.get(), &QTcpSocket::connected, this, &WebSocketConnection::startHandshake);
    }
    connect(m_socket.get(), &QTcpSocket::errorOccurred, this, &WebSocketConnection::socketFailed);
    m_socket->setProxy(proxy);
    m_socket->setReadBufferSize(readAheadBytes);
    if (isSecure(m_url)) {
        static_cast<QSslSocket*>(m_socket.get())->connectToHostEncrypted(host, static_cast<quint16>(m_url.port(443)));
    } else {
        m_socket->connectToHost(host, static_cast<quint16>(m_url.port(80)));
    }
}

void WebSocketConnection::startHandshake()
{
    // Sound is sent in small pieces that must not wait for each other.
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_stream = std::make_unique<Stream>(*m_socket, m_context, [this] { pollContext(); });
    m_stream->set_option(websocket::stream_base::decorator(addUserAgent));
    m_stream->read_message_max(static_cast<std::size_t>(m_limits.incomingMessageBytes));
    m_stream->auto_fragment(false);
    m_stream->control_callback([this](websocket::frame_type kind, boost::beast::string_view) {
        if (kind == websocket::frame_type::pong && m_state == State::open) {
            m_heartbeat.start();
        }
    });
    m_stream->async_handshake(m_response, hostHeader(m_url), requestTarget(m_url),
                              [this](ErrorCode error) { handshakeDone(error); });
    pollContext();
}

void WebSocketConnection::handshakeDone(ErrorCode error)
{
    if (m_state != State::connecting) {
        return;
    }
    if (error == websocket::error::upgrade_declined) {
        fail(handshakeSentence(static_cast<int>(m_response.result_int())));
        return;
    }
    if (error) {
        const bool isLost = error == http::error::end_of_stream || error == http::error::partial_message ||
                            error == boost::asio::error::eof || error == boost::asio::error::connection_reset;
        fail(isLost ? u"The server closed the connection before it was open."_s
                    : u"The server did not answer as it should."_s);
        return;
    }
    m_state = State::open;
    m_patience.stop();
    m_heartbeat.start();
    readNext();
    writeNext();
    if (const std::shared_ptr<WebSocketDelegate> delegate = m_delegate.lock()) {
        delegate->webSocketDidOpen();
    }
}

Task<Result<>> WebSocketConnection::send(WebSocketMessage message)
{
    if (!m_end) {
        if (const std::shared_ptr<Promise<>> left = m_outgoing.push(std::move(message))) {
            writeNext();
            pollContext();
            // Mostly kept already; waiting for it then takes no turn of the event loop.
            return left->result();
        }
        fail(u"The connection is too slow: 30 seconds of sound are waiting to be sent."_s);
    }
    Promise<> failed;
    failed.finish(std::unexpected(m_end.value_or(cancelledFailure())));
    return failed.result();
}

Task<Result<WebSocketMessage>> WebSocketConnection::receive()
{
    Task<Result<WebSocketMessage>> message = m_incoming.next();
    readNext();
    pollContext();
    return message;
}

void WebSocketConnection::readNext()
{
    if (m_state != State::open || m_isReading) {
        return;
    }
    if (m_incoming.isFull()) {
        // Who does not read hears no sign of life either.
        m_heartbeat.stop();
        m_isPaused = true;
        return;
    }
    if (std::exchange(m_isPaused, false)) {
        m_heartbeat.start();
    }
    m_isReading = true;
    m_stream->async_read(m_received, [this](ErrorCode error, std::size_t) { readDone(error); });
}

void WebSocketConnection::readDone(ErrorCode error)
{
    m_isReading = false;
    if (m_state != State::open) {
        return;
    }
    if (error) {
        streamFailed(error);
        return;
    }
    const auto bytes = m_received.cdata();
    m_incoming.push({.kind = m_stream->got_text() ? WebSocketMessage::Kind::text : WebSocketMessage::Kind::binary,
                     .data = {static_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())}});
    m_received.clear();
    readNext();
}

void WebSocketConnection::writeNext()
{
    if (m_state != State::open || m_outgoing.isLeaving() || !m_outgoing.startFront()) {
        return;
    }
    const WebSocketMessage& message = m_outgoing.front();
    m_stream->text(message.kind == WebSocketMessage::Kind::text);
    m_stream->async_write(boost::asio::buffer(message.data.constData(), static_cast<std::size_t>(message.data.size())),
                          [this](ErrorCode error, std::size_t) { writeDone(error); });
}

void WebSocketConnection::writeDone(ErrorCode error)
{
    m_outgoing.frontLeft();
    // A failed write needs no handling of its own: the read that is always outstanding fails for the same reason, and
    // says it better.
    if (!error) {
        writeNext();
    }
}

void WebSocketConnection::ping()
{
    if (std::exchange(m_isPinging, true)) {
        return;
    }
    m_stream->async_ping({}, [this](ErrorCode) { m_isPinging = false; });
    pollContext();
}

void WebSocketConnection::pollContext()
{
    if (m_isPolling) {
        return;
    }
    // A completion may end the connection and with it the last reference to it.
    const std::shared_ptr<WebSocketConnection> self = shared_from_this();
    m_isPolling = true;
    m_context.restart();
    m_context.poll();
    m_isPolling = false;
}

void WebSocketConnection::cancel(WebSocketCloseCode code, QByteArray reason)
{
    if (m_end) {
        return;
    }
    const bool wasOpen = m_state == State::open;
    finish(wasOpen ? State::closing : State::ended, cancelledFailure(), code, reason);
    m_incoming.clear();
    if (!wasOpen) {
        dropSocket();
        return;
    }
    m_patience.start(m_limits.closingTime);
    const websocket::close_reason frame(static_cast<websocket::close_code>(code), reason.toStdString());
    m_stream->async_close(frame, [this](ErrorCode error) {
        if (error) {
            dropSocket();
        } else {
            awaitServersEnd();
        }
    });
    pollContext();
}

void WebSocketConnection::socketFailed(QAbstractSocket::SocketError error)
{
    if (m_state == State::connecting && !m_stream) {
        fail(error == QAbstractSocket::SslHandshakeFailedError ? certificateSentence(m_certificateFaults)
                                                               : socketSentence(error));
    }
    // Later the stream's own operations report it.
}

void WebSocketConnection::streamFailed(ErrorCode error)
{
    if (error == websocket::error::closed) {
        const websocket::close_reason& frame = m_stream->reason();
        const QByteArray reason(frame.reason.data(), static_cast<qsizetype>(frame.reason.size()));
        const auto code = frame.code == websocket::close_code::none ? WebSocketCloseCode::noStatusReceived
                                                                    : static_cast<WebSocketCloseCode>(frame.code);
        const QString sentence = closeSentence(static_cast<std::uint16_t>(code), reason, m_url);
        finish(State::closing, networkFailure(sentence), code, reason.isEmpty() ? std::nullopt : std::optional(reason));
        awaitServersEnd();
    } else if (error == websocket::error::message_too_big) {
        finish(State::closing, networkFailure(u"The server sent a message that is too large."_s),
               WebSocketCloseCode::messageTooBig, std::nullopt);
        awaitServersEnd();
    } else if (isProtocolFault(error)) {
        finish(State::closing, networkFailure(u"The server sent something that cannot be understood."_s),
               WebSocketCloseCode::abnormalClosure, std::nullopt);
        awaitServersEnd();
    } else {
        fail(connectionLostSentence());
    }
}

void WebSocketConnection::finish(State state, const Failure& why, WebSocketCloseCode code,
                                 std::optional<QByteArray> reason)
{
    m_state = state;
    m_end = why;
    m_patience.stop();
    m_heartbeat.stop();
    m_outgoing.fail(why);
    m_incoming.end(why);
    if (const std::shared_ptr<WebSocketDelegate> delegate = m_delegate.lock()) {
        delegate->webSocketDidClose(code, std::move(reason));
    }
}

void WebSocketConnection::fail(const QString& sentence)
{
    if (m_end) {
        return;
    }
    finish(State::ended, networkFailure(sentence), WebSocketCloseCode::abnormalClosure, std::nullopt);
    dropSocket();
}

void WebSocketConnection::awaitServersEnd()
{
    if (m_socket->state() != QAbstractSocket::ConnectedState) {
        dropSocket();
        return;
    }
    // Bytes that arrive meanwhile are taken and dropped: closing a socket with unread bytes resets the connection, and
    // the server may then never see the close frame.
    const auto discard = [this] { m_socket->readAll(); };
    connect(m_socket.get(), &QTcpSocket::readyRead, this, discard);
    connect(m_socket.get(), &QTcpSocket::disconnected, this, &WebSocketConnection::dropSocket);
    m_patience.start(m_limits.closingTime);
    discard();
}

void WebSocketConnection::dropSocket()
{
    m_state = State::ended;
    m_patience.stop();
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
    if (const std::shared_ptr<RunningConnections> running = m_running.lock()) {
        running->removeLater(shared_from_this());
    }
}

RunningConnections::RunningConnections()
{
    m_farewell.setSingleShot(true);
    m_farewell.setInterval(0);
    connect(&m_farewell, &QTimer::timeout, this, &RunningConnections::removeLeaving);
}

void RunningConnections::removeLeaving()
{
    for (const std::shared_ptr<WebSocketConnection>& connection : std::exchange(m_leaving, {})) {
        m_connections.erase(connection);
    }
}

void RunningConnections::removeLater(std::shared_ptr<WebSocketConnection> connection)
{
    m_leaving.push_back(std::move(connection));
    m_farewell.start();
}

void RunningConnections::cancelAll()
{
    const std::set<std::shared_ptr<WebSocketConnection>> connections = m_connections;
    for (const std::shared_ptr<WebSocketConnection>& connection : connections) {
        connection->cancel(WebSocketCloseCode::goingAway, {});
    }
}

bool RunningConnections::isAnyClosing() const
{
    return std::ranges::any_of(m_connections, &WebSocketConnection::isClosing);
}

} // namespace quorvel::platform
