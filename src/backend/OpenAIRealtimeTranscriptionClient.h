#pragma once

#include "platform/UrlSession.h"
#include "transcript/TranscriptEvent.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace quorvel {

/// A direct connection to a realtime transcription service, beside the service backend. It reacts to the opening and
/// the closing of its WebSocket; which service, and in which words, is not settled, so nothing creates one yet. Main
/// thread.
class OpenAIRealtimeTranscriptionClient final : public std::enable_shared_from_this<OpenAIRealtimeTranscriptionClient>,
                                                public platform::WebSocketDelegate
{
public:
    [[nodiscard]] static std::shared_ptr<OpenAIRealtimeTranscriptionClient>
    create(std::shared_ptr<platform::UrlSession> session);

    /// Partial and final texts, and what made the transcriber fail.
    std::function<void(TranscriptEvent)> onEvent;
    /// The socket closed without having been asked to; the text is the other end's reason.
    std::function<void(QString)> onError;

    /// Opens a connection and waits until the socket is open. Closes any current one first.
    [[nodiscard]] Task<Result<>> connect(QUrl url);
    /// Waits until the service confirms the session's settings; confirmSessionUpdate() tells that it has.
    [[nodiscard]] Task<Result<>> waitForSessionUpdate();
    void confirmSessionUpdate();
    /// Closes the connection; that is not reported as an error.
    void disconnect();

    /// Sends sound as one binary frame. Fails when there is no connection.
    [[nodiscard]] Task<Result<>> appendAudio(QByteArray chunk);
    /// Asks for a transcription of what was appended since the last commit. Fails when there is no connection.
    [[nodiscard]] Task<Result<>> commitAudio();

    void webSocketDidOpen() override;
    void webSocketDidClose(platform::WebSocketCloseCode code, std::optional<QByteArray> reason) override;

private:
    explicit OpenAIRealtimeTranscriptionClient(std::shared_ptr<platform::UrlSession> session);

    [[nodiscard]] Task<Result<>> send(platform::WebSocketMessage message);

    std::shared_ptr<platform::UrlSession> m_session;
    std::shared_ptr<platform::WebSocketTask> m_task;
    std::unique_ptr<platform::Promise<>> m_openContinuation;
    std::unique_ptr<platform::Promise<>> m_sessionUpdateContinuation;
    bool m_isClosingIntentionally = false;
};

} // namespace quorvel
