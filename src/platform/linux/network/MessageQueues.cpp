#include "platform/linux/network/MessageQueues.h"

namespace quorvel::platform {

namespace {

/// What a waiting message costs besides its content, so that a flood of empty messages is bounded too.
constexpr qint64 messageOverhead = 64;

qint64 weight(const WebSocketMessage& message)
{
    return messageOverhead + message.data.size();
}

} // namespace

std::shared_ptr<Promise<>> SendQueue::push(WebSocketMessage message)
{
    if (m_bytes + message.data.size() > m_capacity) {
        return nullptr;
    }
    m_bytes += message.data.size();
    const auto left = std::make_shared<Promise<>>();
    m_messages.push_back({.message = std::move(message), .left = left});
    return left;
}

bool SendQueue::startFront()
{
    m_isLeaving = m_isLeaving || !m_messages.empty();
    return m_isLeaving;
}

void SendQueue::frontLeft()
{
    m_isLeaving = false;
    m_bytes -= m_messages.front().message.data.size();
    const std::shared_ptr<Promise<>> left = std::move(m_messages.front().left);
    m_messages.pop_front();
    left->finish({});
}

void SendQueue::fail(const Failure& why)
{
    for (const Outgoing& outgoing : m_messages) {
        outgoing.left->finish(std::unexpected(why));
    }
    m_messages.resize(m_isLeaving ? 1 : 0);
}

void ReceiveQueue::push(WebSocketMessage message)
{
    m_bytes += weight(message);
    m_messages.push_back(std::move(message));
    serve();
}

Task<Result<WebSocketMessage>> ReceiveQueue::next()
{
    const auto receiver = std::make_shared<Promise<WebSocketMessage>>();
    m_receiver = receiver;
    serve();
    return receiver->result();
}

void ReceiveQueue::end(const Failure& why)
{
    m_end = why;
    serve();
}

void ReceiveQueue::clear()
{
    m_messages.clear();
    m_bytes = 0;
}

void ReceiveQueue::serve()
{
    if (!m_receiver) {
        return;
    }
    if (!m_messages.empty()) {
        const std::shared_ptr<Promise<WebSocketMessage>> receiver = std::move(m_receiver);
        m_bytes -= weight(m_messages.front());
        receiver->finish(std::move(m_messages.front()));
        m_messages.pop_front();
    } else if (m_end) {
        const std::shared_ptr<Promise<WebSocketMessage>> receiver = std::move(m_receiver);
        receiver->finish(std::unexpected(*m_end));
    }
}

} // namespace quorvel::platform
