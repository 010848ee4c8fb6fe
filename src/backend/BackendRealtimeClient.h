#pragma once

#include "backend/BackendClientError.h"
#include "backend/BackendRealtimeEvent.h"
#include "backend/BackendRecords.h"
#include "capture/CaptureSource.h"
#include "context/MeetingContext.h"
#include "platform/Task.h"
#include "platform/UrlSession.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace quorvel {

/// The service backend: its REST requests and the one realtime WebSocket session. Main thread; nothing is retried.
///
/// Failures of requests carry the backend's own text (BackendClientError::server), the fixed text of
/// BackendClientError::invalidResponse, or the sentence of the URL-loading or JSON layer, unchanged.
class BackendRealtimeClient final : public std::enable_shared_from_this<BackendRealtimeClient>
{
public:
    /// `origin` is scheme, host and port: https and wss for "https", http and ws for "http".
    [[nodiscard]] static std::shared_ptr<BackendRealtimeClient> create(std::shared_ptr<platform::UrlSession> session,
                                                                       const QUrl& origin);

    /// Every decoded incoming message. Set by the owner, who moves the call to its own thread if that matters.
    std::function<void(BackendRealtimeEvent)> onEvent;
    /// Receiving ended; the text tells why. Also called for a close of our own.
    std::function<void(std::optional<QString>)> onDisconnect;
    /// Bearer token of authenticated requests and of the realtime connection.
    std::optional<QString> accessToken;

    /// The host that the requests go to, as shown to the user.
    [[nodiscard]] QString backendHost() const;

    /// Opens a connection, closing any current one with code 1001, and returns without waiting for the handshake.
    [[nodiscard]] Task<Result<>> connect();
    [[nodiscard]] Task<Result<>> start(MeetingContext context, CaptureSource source);
    [[nodiscard]] Task<Result<>> updateContext(MeetingContext context);
    /// One binary frame with exactly these bytes; an empty chunk sends nothing.
    [[nodiscard]] Task<Result<>> sendAudio(QByteArray chunk);
    /// Sends "session.stop", whether that works or not, then disconnects.
    [[nodiscard]] Task<> stop();
    /// Closes with code 1001 and no reason, and forgets the connection. Without one it does nothing.
    void disconnect();

    [[nodiscard]] Task<Result<HealthResponse>> health();
    [[nodiscard]] Task<Result<MeResponse>> me();
    /// The one-time code itself where a development backend sends it back.
    [[nodiscard]] Task<Result<std::optional<QString>>> requestOtp(QString email);
    [[nodiscard]] Task<Result<BackendAuthSession>> verifyOtp(QString email, QString code);
    /// The address at which Google sign-in begins.
    [[nodiscard]] Task<Result<QUrl>> googleStartURL();
    /// Uploads a file, read from disk while it is sent; one that cannot be read fails before anything is sent.
    [[nodiscard]] Task<Result<ExtractedProfile>> extractProfile(QUrl fileURL);

    /// The content type of a resume by its file name's extension, letter case ignored.
    [[nodiscard]] static QByteArray mimeType(const QString& fileName);

private:
    BackendRealtimeClient(std::shared_ptr<platform::UrlSession> session, const QUrl& origin);

    [[nodiscard]] Task<Result<>> sendJSON(QJsonObject message);
    void listen();
    static Task<> receiveLoop(std::weak_ptr<BackendRealtimeClient> client,
                              std::shared_ptr<platform::WebSocketTask> task);
    void handle(const platform::WebSocketMessage& message) const;
    /// One JSON request below the base URL. Empty pieces of `path` are dropped, the others encoded as path components.
    template <typename Record>
    [[nodiscard]] Task<Result<Record>> sendREST(QString path, QByteArray method, bool authenticated,
                                                std::optional<QJsonObject> body);

    std::shared_ptr<platform::UrlSession> m_session;
    QUrl m_baseURL;
    QUrl m_profileURL;
    QUrl m_realtimeURL;
    std::shared_ptr<platform::WebSocketTask> m_task;
};

} // namespace quorvel
