#pragma once

#include "platform/UrlSession.h"
#include "support/Step.h"

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace quorvel::test {

/// A WebSocket connection whose other end is the test.
class FakeWebSocketTask final : public platform::WebSocketTask
{
public:
    FakeWebSocketTask(QUrl taskUrl, std::weak_ptr<platform::WebSocketDelegate> taskDelegate)
        : url(std::move(taskUrl))
        , delegate(std::move(taskDelegate))
    {
    }

    void resume() override { isResumed = true; }

    [[nodiscard]] Task<Result<>> send(platform::WebSocketMessage message) override
    {
        sent.push_back(std::move(message));
        return sending.run();
    }

    [[nodiscard]] Task<Result<platform::WebSocketMessage>> receive() override
    {
        m_receiver = std::make_shared<platform::Promise<platform::WebSocketMessage>>();
        const auto receiver = m_receiver;
        deliverNext();
        return receiver->result();
    }

    void cancel(platform::WebSocketCloseCode code, QByteArray reason) override
    {
        closeCode = code;
        closeReason = reason;
        sending.release(std::unexpected(platform::cancelledFailure()));
        end(platform::cancelledFailure());
    }

    /// The other end sends something.
    void deliver(const QByteArray& data, platform::WebSocketMessage::Kind kind = platform::WebSocketMessage::Kind::text)
    {
        m_incoming.push_back({.kind = kind, .data = data});
        deliverNext();
    }
    /// The connection ends.
    void end(Failure why)
    {
        m_end = std::move(why);
        deliverNext();
    }

    QUrl url;
    std::weak_ptr<platform::WebSocketDelegate> delegate;
    bool isResumed = false;
    std::vector<platform::WebSocketMessage> sent;
    Step<> sending;
    std::optional<platform::WebSocketCloseCode> closeCode;
    QByteArray closeReason;

private:
    void deliverNext()
    {
        if (!m_receiver || (m_incoming.empty() && !m_end)) {
            return;
        }
        const auto receiver = std::exchange(m_receiver, nullptr);
        if (!m_incoming.empty()) {
            receiver->finish(m_incoming.front());
            m_incoming.pop_front();
        } else if (m_end) {
            receiver->finish(std::unexpected(*m_end));
        }
    }

    std::deque<platform::WebSocketMessage> m_incoming;
    std::optional<Failure> m_end;
    std::shared_ptr<platform::Promise<platform::WebSocketMessage>> m_receiver;
};

/// Answers requests as a test prepares it, by the path of their URL.
class FakeUrlSession final : public platform::UrlSession
{
public:
    FakeUrlSession() = default;
    /// Connections end with their session.
    ~FakeUrlSession() override
    {
        for (const auto& socket : webSockets) {
            socket->cancel(platform::WebSocketCloseCode::goingAway, {});
        }
    }
    FakeUrlSession(const FakeUrlSession&) = delete;
    FakeUrlSession(FakeUrlSession&&) = delete;
    FakeUrlSession& operator=(const FakeUrlSession&) = delete;
    FakeUrlSession& operator=(FakeUrlSession&&) = delete;

    [[nodiscard]] Task<Result<platform::UrlResponse>> send(platform::UrlRequest request) override
    {
        const QString path = request.url.path();
        requests.push_back(std::move(request));
        return step(path).run();
    }

    [[nodiscard]] std::shared_ptr<platform::WebSocketTask>
    webSocketTask(QUrl url, std::weak_ptr<platform::WebSocketDelegate> delegate) override
    {
        webSockets.push_back(std::make_shared<FakeWebSocketTask>(std::move(url), std::move(delegate)));
        if (prepareSocket) {
            prepareSocket(*webSockets.back());
        }
        return webSockets.back();
    }

    /// How requests of this path end; without preparation they fail.
    [[nodiscard]] Step<platform::UrlResponse>& step(const QString& path)
    {
        return m_steps.try_emplace(path, std::unexpected(failure(QStringLiteral("No answer.")))).first->second;
    }

    void answer(const QString& path, int status, const QByteArray& body)
    {
        step(path).setResult(platform::UrlResponse{.httpStatus = status, .body = body});
    }

    std::vector<platform::UrlRequest> requests;
    /// Called with every new connection, if set.
    std::function<void(FakeWebSocketTask&)> prepareSocket;
    std::vector<std::shared_ptr<FakeWebSocketTask>> webSockets;

private:
    std::map<QString, Step<platform::UrlResponse>> m_steps;
};

} // namespace quorvel::test
