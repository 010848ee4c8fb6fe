#pragma once

#include "platform/UrlSession.h"
#include "platform/linux/network/Heartbeat.h"
#include "platform/linux/network/MessageQueues.h"
#include "platform/linux/network/NetworkLimits.h"
#include "platform/linux/network/SocketStream.h"

#include <QNetworkProxy>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <boost/asio/io_context.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace quorvel::platform {

class RunningConnections;

/// One WebSocket connection: the socket, the protocol on it, what waits to be sent and to be received, and the watch
/// over a peer that falls silent.
class WebSocketConnection final : public QObject,
                                  public WebSocketTask,
                                  public std::enable_shared_from_this<WebSocketConnection>
{
public:
    [[nodiscard]] static std::shared_ptr<WebSocketConnection> create(QUrl url,
                                                                     std::weak_ptr<WebSocketDelegate> delegate,
                                                                     NetworkLimits limits,
                                                                     std::weak_ptr<RunningConnections> running);
    ~WebSocketConnection() override;
    WebSocketConnection(const WebSocketConnection&) = delete;
    WebSocketConnection(WebSocketConnection&&) = delete;
    WebSocketConnection& operator=(const WebSocketConnection&) = delete;
    WebSocketConnection& operator=(WebSocketConnection&&) = delete;

    void resume() override;
    [[nodiscard]] Task<Result<>> send(WebSocketMessage message) override;
    [[nodiscard]] Task<Result<WebSocketMessage>> receive() override;
    void cancel(WebSocketCloseCode code, QByteArray reason) override;

    /// Whether the owner has done with it while the close frames are still exchanged.
    [[nodiscard]] bool isClosing() const { return m_state == State::closing; }

private:
    using Stream = boost::beast::websocket::stream<SocketStream, false>;
    using ErrorCode = boost::system::error_code;

    /// In `closing` the owner has its answer already; only the close frames are still exchanged.
    enum class State : std::uint8_t { idle, connecting, open, closing, ended };

    WebSocketConnection(QUrl url, std::weak_ptr<WebSocketDelegate> delegate, NetworkLimits limits,
                        std::weak_ptr<RunningConnections> running);

    static Task<> openThroughProxy(std::shared_ptr<WebSocketConnection> self);
    void connectSocket(const QNetworkProxy& proxy);
    void startHandshake();
    void handshakeDone(ErrorCode error);
    void readNext();
    void readDone(ErrorCode error);
    void writeNext();
    void writeDone(ErrorCode error);
    void ping();
    void pollContext();

    void socketFailed(QAbstractSocket::SocketError error);
    void streamFailed(ErrorCode error);
    /// The end for the owner: everything outstanding fails with `why`, the delegate is told.
    void finish(State state, const Failure& why, WebSocketCloseCode code, std::optional<QByteArray> reason);
    /// Ends at once, for a peer that is out of reach or not to be talked to.
    void fail(const QString& sentence);
    void dropSocket();
    /// Lets the last frames reach the server and waits a little for it to close the connection.
    void awaitServersEnd();

    QUrl m_url;
    std::weak_ptr<WebSocketDelegate> m_delegate;
    NetworkLimits m_limits;
    std::weak_ptr<RunningConnections> m_running;
    State m_state = State::idle;
    std::optional<Failure> m_end;

    SendQueue m_outgoing;
    ReceiveQueue m_incoming;
    bool m_isReading = false;
    bool m_isPaused = false; ///< too much waits to be received
    QTimer m_patience;       ///< for the opening handshake, later for the closing one
    Heartbeat m_heartbeat;
    QList<QSslError> m_certificateFaults;

    // In this order: the stream works on the socket and the context, and the context holds completions that must never
    // run once the stream is gone.
    boost::asio::io_context m_context{1}; ///< for one thread only
    bool m_isPolling = false;
    bool m_isPinging = false; ///< a ping waits to leave
    std::unique_ptr<QTcpSocket> m_socket;
    boost::beast::websocket::response_type m_response;
    boost::beast::flat_buffer m_received;
    std::unique_ptr<Stream> m_stream;
};

/// Keeps connections alive while they run. Main thread.
class RunningConnections final : public QObject
{
public:
    RunningConnections();

    void add(std::shared_ptr<WebSocketConnection> connection) { m_connections.insert(std::move(connection)); }
    /// Lets go of it when the call that ends it has returned.
    void removeLater(std::shared_ptr<WebSocketConnection> connection);
    void cancelAll();
    [[nodiscard]] bool isAnyClosing() const;

private:
    void removeLeaving();

    std::set<std::shared_ptr<WebSocketConnection>> m_connections;
    std::vector<std::shared_ptr<WebSocketConnection>> m_leaving;
    QTimer m_farewell;
};

} // namespace quorvel::platform
