#pragma once

#include <QByteArray>

#include <cstdint>
#include <vector>

namespace quorvel {

/// The newest sound since the last commit, in bytes of 16-bit mono 24 kHz PCM. One thread at a time.
class AudioRingBuffer
{
public:
    /// Six seconds of 24,000 samples of 2 bytes.
    static constexpr std::int64_t maxBytes = 288'000;

    /// Takes all the memory that it will ever need.
    AudioRingBuffer();

    /// Adds at the end; beyond maxBytes the oldest bytes are dropped. Never allocates.
    void append(const QByteArray& bytes);
    /// Every byte held, oldest first; leaves the buffer empty.
    [[nodiscard]] QByteArray drain();
    void clear();

private:
    std::vector<char> m_bytes;
    std::int64_t m_oldest = 0; ///< where the oldest byte stands; what follows the last place is the first
    std::int64_t m_count = 0;
};

} // namespace quorvel
