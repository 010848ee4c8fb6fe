#pragma once

#include "platform/Task.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>
#include <variant>
#include <vector>

namespace quorvel::platform {

/// A request body that is read from disk while it is sent: `before`, then the file's bytes, then `after`.
struct FileBody
{
    QByteArray before;
    QString filePath;
    QByteArray after;
};

struct UrlRequest
{
    QByteArray method = "GET";
    QUrl url;
    std::vector<std::pair<QByteArray, QByteArray>> headers = {};
    /// Nothing, bytes in memory, or a file. A request without a body carries no Content-Type of its own accord.
    std::variant<std::monostate, QByteArray, FileBody> body = {};
    /// Without progress for this long the request fails.
    std::chrono::milliseconds timeout{60'000};
    /// A stop requested on it, on the main thread, ends the request with PlatformError::cancelled.
    std::stop_token stop = std::stop_token();
};

struct UrlResponse
{
    /// Absent when what answered is not HTTP.
    std::optional<int> httpStatus;
    QByteArray body;
};

/// One message of a WebSocket connection.
struct WebSocketMessage
{
    enum class Kind : std::uint8_t { text, binary };

    Kind kind = Kind::binary;
    QByteArray data; ///< of a text its UTF-8
};

/// Why a connection was closed, on the wire (RFC 6455, 7.4).
enum class WebSocketCloseCode : std::uint16_t {
    normalClosure = 1000,
    goingAway = 1001,
    noStatusReceived = 1005,
    abnormalClosure = 1006,
    messageTooBig = 1009,
};

/// Told about the opening and the end of a WebSocket task. Called on the main thread.
class WebSocketDelegate
{
public:
    virtual ~WebSocketDelegate() = default;

    virtual void webSocketDidOpen() = 0;
    /// `reason` holds the bytes of the close frame, absent when there were none.
    virtual void webSocketDidClose(WebSocketCloseCode code, std::optional<QByteArray> reason) = 0;
};

/// One WebSocket connection, from its handshake to its end; never reused. Main thread.
class WebSocketTask
{
public:
    virtual ~WebSocketTask() = default;

    /// Starts the connection. Without it nothing is sent or received.
    virtual void resume() = 0;

    /// Ends when the message's bytes have left this process, or with the reason why they will not. What is sent before
    /// the handshake is done waits for it. More than 1,440,000 waiting bytes (30 s of sound) fail the connection.
    [[nodiscard]] virtual Task<Result<>> send(WebSocketMessage message) = 0;

    /// The next message in order of arrival. One call at a time. Fails when the connection ends, for whatever reason;
    /// a message above 1 MiB ends it with code 1009. While many messages wait to be received, no more are read.
    [[nodiscard]] virtual Task<Result<WebSocketMessage>> receive() = 0;

    /// Closes the connection; outstanding sends and receives fail with PlatformError::cancelled. The close frame leaves
    /// at once, or not at all where the handshake is not done yet.
    virtual void cancel(WebSocketCloseCode code, QByteArray reason) = 0;
};

/// HTTP requests and WebSocket connections with the system's trust and proxy settings. Main thread. Its end cancels
/// what is under way; until then a connection that was resumed lives on, even if its owner lets go of it. Failures
/// carry a sentence for the user; no text of a failure ever holds a token or a query.
class UrlSession
{
public:
    virtual ~UrlSession() = default;

    /// The response, whatever its status. Redirects are followed within one origin only, so that no header of a request
    /// reaches another server.
    [[nodiscard]] virtual Task<Result<UrlResponse>> send(UrlRequest request) = 0;

    /// A connection that resume() starts. The delegate, if any, is told as long as it exists.
    [[nodiscard]] virtual std::shared_ptr<WebSocketTask> webSocketTask(QUrl url,
                                                                       std::weak_ptr<WebSocketDelegate> delegate) = 0;
};

} // namespace quorvel::platform
