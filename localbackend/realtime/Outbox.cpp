#include "realtime/Outbox.h"

#include <utility>

namespace quorvel::localbackend {

bool Outbox::push(Kind kind, std::string message)
{
    // Only the newest entry may be replaced: order among different kinds must stay.
    if (kind != Kind::Ordinary && !m_entries.empty() && m_entries.back().kind == kind) {
        m_bytes -= m_entries.back().message.size();
        m_entries.pop_back();
    }
    if (m_entries.size() >= mostMessages || m_bytes + message.size() > mostBytes)
        return false;
    m_bytes += message.size();
    m_entries.push_back({kind, std::move(message)});
    return true;
}

std::string Outbox::pop()
{
    std::string message = std::move(m_entries.front().message);
    m_entries.pop_front();
    m_bytes -= message.size();
    return message;
}

} // namespace quorvel::localbackend
