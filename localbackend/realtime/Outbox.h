#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace quorvel::localbackend {

/// The messages of one session that wait to be sent, bounded: a peer that does not read must not take our memory.
class Outbox
{
public:
    static constexpr std::size_t mostMessages = 512;
    static constexpr std::size_t mostBytes = std::size_t{1024} * 1024;

    /// A waiting message that a newer one of its kind makes pointless is replaced.
    enum class Kind : std::uint8_t { Ordinary, Delta, Tick };

    /// False when the message does not fit any more: the peer is too slow and should be dropped.
    [[nodiscard]] bool push(Kind kind, std::string message);

    [[nodiscard]] bool isEmpty() const { return m_entries.empty(); }

    /// The oldest message; precondition: not empty.
    [[nodiscard]] std::string pop();

private:
    struct Entry
    {
        Kind kind;
        std::string message;
    };

    std::deque<Entry> m_entries;
    std::size_t m_bytes = 0;
};

} // namespace quorvel::localbackend
