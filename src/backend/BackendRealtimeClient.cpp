#include "backend/BackendRealtimeClient.h"

#include "backend/RealtimeMessages.h"

#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

QUrl withPath(QUrl origin, const QString& path)
{
    origin.setPath(path);
    return origin;
}

QUrl realtimeURL(const QUrl& origin)
{
    QUrl url = withPath(origin, u"/ws/realtime"_s);
    url.setScheme(origin.scheme() == u"https"_s ? u"wss"_s : u"ws"_s);
    return url;
}

} // namespace

std::shared_ptr<BackendRealtimeClient> BackendRealtimeClient::create(std::shared_ptr<platform::UrlSession> session,
                                                                     const QUrl& origin)
{
    return std::shared_ptr<BackendRealtimeClient>(new BackendRealtimeClient(std::move(session), origin));
}

BackendRealtimeClient::BackendRealtimeClient(std::shared_ptr<platform::UrlSession> session, const QUrl& origin)
    : m_session(std::move(session))
    , m_baseURL(withPath(origin, u"/api"_s))
    , m_profileURL(withPath(origin, u"/api/profile/extract"_s))
    , m_realtimeURL(realtimeURL(origin))
{
}

QString BackendRealtimeClient::backendHost() const
{
    return m_baseURL.host();
}

Task<Result<>> BackendRealtimeClient::connect()
{
    const auto self = shared_from_this();
    disconnect();
    QUrl url = m_realtimeURL;
    if (accessToken) {
        // Encoded here rather than by a query class, which would leave a plus sign for the server to take as a space.
        url.setQuery(QString::fromLatin1("token=" + QUrl::toPercentEncoding(*accessToken)), QUrl::StrictMode);
    }
    if (!url.isValid() || url.host().isEmpty()) {
        co_return std::unexpected(backendInvalidResponseFailure());
    }
    m_task = m_session->webSocketTask(url, {});
    m_task->resume();
    listen();
    co_return Result<>();
}

Task<Result<>> BackendRealtimeClient::start(MeetingContext context, CaptureSource source)
{
    QJsonObject message = realtime::sessionStart(context, source);
    co_return co_await sendJSON(std::move(message));
}

Task<Result<>> BackendRealtimeClient::updateContext(MeetingContext context)
{
    QJsonObject message = realtime::contextUpdate(context);
    co_return co_await sendJSON(std::move(message));
}

Task<Result<>> BackendRealtimeClient::sendAudio(QByteArray chunk)
{
    const auto self = shared_from_this();
    if (chunk.isEmpty() || !m_task) {
        co_return Result<>();
    }
    const auto task = m_task;
    platform::WebSocketMessage message{.kind = platform::WebSocketMessage::Kind::binary, .data = std::move(chunk)};
    co_return co_await task->send(std::move(message));
}

Task<> BackendRealtimeClient::stop()
{
    const auto self = shared_from_this();
    QJsonObject message = realtime::sessionStop();
    // The connection is closed next, whatever became of the farewell.
    [[maybe_unused]] const Result<> sent = co_await sendJSON(std::move(message));
    disconnect();
}

void BackendRealtimeClient::disconnect()
{
    if (const auto task = std::exchange(m_task, nullptr)) {
        task->cancel(platform::WebSocketCloseCode::goingAway, {});
    }
}

Task<Result<>> BackendRealtimeClient::sendJSON(QJsonObject message)
{
    const auto self = shared_from_this();
    const auto task = m_task;
    if (!task) {
        co_return Result<>();
    }
    platform::WebSocketMessage frame{.kind = platform::WebSocketMessage::Kind::text,
                                     .data = QJsonDocument(message).toJson(QJsonDocument::Compact)};
    co_return co_await task->send(std::move(frame));
}

void BackendRealtimeClient::listen()
{
    launch(receiveLoop(weak_from_this(), m_task));
}

Task<> BackendRealtimeClient::receiveLoop(std::weak_ptr<BackendRealtimeClient> client,
                                          std::shared_ptr<platform::WebSocketTask> task)
{
    while (task) {
        const Result<platform::WebSocketMessage> message = co_await task->receive();
        const auto self = client.lock();
        if (!self) {
            co_return;
        }
        if (!message) {
            if (self->onDisconnect) {
                self->onDisconnect(message.error().description);
            }
            co_return;
        }
        self->handle(*message);
        if (task != self->m_task) {
            co_return; // Another connection has a loop of its own.
        }
    }
}

void BackendRealtimeClient::handle(const platform::WebSocketMessage& message) const
{
    std::optional<BackendRealtimeEvent> event = realtime::decode(message.data);
    if (event && onEvent) {
        onEvent(*std::move(event));
    }
}

} // namespace quorvel
