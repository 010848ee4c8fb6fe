#include "backend/OpenAIRealtimeTranscriptionClient.h"

#include "backend/OpenAIClientError.h"

#include <QStringDecoder>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

/// Ends a pending wait, if there is one, exactly once: it is removed before it is completed.
void complete(std::unique_ptr<platform::Promise<>>& continuation, const Result<>& result)
{
    if (const auto pending = std::exchange(continuation, nullptr)) {
        pending->finish(result);
    }
}

QString closeReason(const std::optional<QByteArray>& reason)
{
    if (reason) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder(*reason);
        if (!decoder.hasError()) {
            return text;
        }
    }
    return u"Realtime WebSocket closed."_s;
}

} // namespace

std::shared_ptr<OpenAIRealtimeTranscriptionClient>
OpenAIRealtimeTranscriptionClient::create(std::shared_ptr<platform::UrlSession> session)
{
    return std::shared_ptr<OpenAIRealtimeTranscriptionClient>(
        new OpenAIRealtimeTranscriptionClient(std::move(session)));
}

OpenAIRealtimeTranscriptionClient::OpenAIRealtimeTranscriptionClient(std::shared_ptr<platform::UrlSession> session)
    : m_session(std::move(session))
{
}

Task<Result<>> OpenAIRealtimeTranscriptionClient::connect(QUrl url)
{
    const auto self = shared_from_this();
    disconnect();
    m_isClosingIntentionally = false;
    m_task = m_session->webSocketTask(url, weak_from_this());
    m_openContinuation = std::make_unique<platform::Promise<>>();
    Task<Result<>> opened = m_openContinuation->result();
    m_task->resume();
    co_return co_await opened;
}

Task<Result<>> OpenAIRealtimeTranscriptionClient::waitForSessionUpdate()
{
    m_sessionUpdateContinuation = std::make_unique<platform::Promise<>>();
    return m_sessionUpdateContinuation->result();
}

void OpenAIRealtimeTranscriptionClient::confirmSessionUpdate()
{
    complete(m_sessionUpdateContinuation, {});
}

void OpenAIRealtimeTranscriptionClient::disconnect()
{
    if (const auto task = std::exchange(m_task, nullptr)) {
        m_isClosingIntentionally = true;
        task->cancel(platform::WebSocketCloseCode::goingAway, {});
    }
}

Task<Result<>> OpenAIRealtimeTranscriptionClient::appendAudio(QByteArray chunk)
{
    platform::WebSocketMessage message{.kind = platform::WebSocketMessage::Kind::binary, .data = std::move(chunk)};
    return send(std::move(message));
}

Task<Result<>> OpenAIRealtimeTranscriptionClient::commitAudio()
{
    platform::WebSocketMessage message{.kind = platform::WebSocketMessage::Kind::text,
                                       .data = R"({"type":"audio.commit"})"};
    return send(std::move(message));
}

Task<Result<>> OpenAIRealtimeTranscriptionClient::send(platform::WebSocketMessage message)
{
    const auto self = shared_from_this();
    if (!m_task) {
        co_return std::unexpected(openAIServerFailure(u"There is no connection to the transcription service."_s));
    }
    co_return co_await m_task->send(std::move(message));
}

void OpenAIRealtimeTranscriptionClient::webSocketDidOpen()
{
    complete(m_openContinuation, {});
}

void OpenAIRealtimeTranscriptionClient::webSocketDidClose(platform::WebSocketCloseCode /*code*/,
                                                          std::optional<QByteArray> reason)
{
    const auto failed = [](const QString& message) { return std::unexpected(openAIServerFailure(message)); };
    complete(m_openContinuation, failed(u"Realtime WebSocket closed before opening."_s));
    complete(m_sessionUpdateContinuation, failed(u"Realtime WebSocket closed before session update completed."_s));
    if (!m_isClosingIntentionally && onError) {
        onError(closeReason(reason));
    }
}

} // namespace quorvel
