#pragma once

#include "platform/UrlSession.h"

#include <deque>
#include <memory>
#include <optional>

namespace quorvel::platform {

/// What waits to leave, in order, up to a number of bytes.
class SendQueue
{
public:
    explicit SendQueue(qint64 capacity)
        : m_capacity(capacity)
    {
    }

    /// The promise that is kept when the message has left; null if the queue does not hold as much.
    [[nodiscard]] std::shared_ptr<Promise<>> push(WebSocketMessage message);

    /// The front leaves now; it stays where it is until frontLeft().
    [[nodiscard]] bool startFront();
    [[nodiscard]] bool isLeaving() const { return m_isLeaving; }
    [[nodiscard]] const WebSocketMessage& front() const { return m_messages.front().message; }
    void frontLeft();

    /// Everything fails; the bytes that are just leaving are kept until frontLeft().
    void fail(const Failure& why);

private:
    struct Outgoing
    {
        WebSocketMessage message;
        std::shared_ptr<Promise<>> left;
    };

    qint64 m_capacity;
    qint64 m_bytes = 0;
    bool m_isLeaving = false;
    std::deque<Outgoing> m_messages;
};

/// What has arrived, in order, and the one who waits for it.
class ReceiveQueue
{
public:
    explicit ReceiveQueue(qint64 capacity)
        : m_capacity(capacity)
    {
    }

    void push(WebSocketMessage message);
    /// Whether no more should be read until something is received.
    [[nodiscard]] bool isFull() const { return m_bytes >= m_capacity; }

    /// The next message; the failure once the queue has ended and nothing is left.
    [[nodiscard]] Task<Result<WebSocketMessage>> next();
    /// No message comes any more. What has arrived can still be received.
    void end(const Failure& why);
    void clear();

private:
    void serve();

    qint64 m_capacity;
    qint64 m_bytes = 0;
    std::deque<WebSocketMessage> m_messages;
    std::optional<Failure> m_end;
    std::shared_ptr<Promise<WebSocketMessage>> m_receiver;
};

} // namespace quorvel::platform
