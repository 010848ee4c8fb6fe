#pragma once

#include <QByteArray>

#include <cstdint>

namespace quorvel {

/// The newest sound since the last commit, in bytes of 16-bit mono 24 kHz PCM. One thread at a time.
class AudioRingBuffer
{
public:
    /// Six seconds of 24,000 samples of 2 bytes.
    static constexpr std::int64_t maxBytes = 288'000;

    /// Adds at the end; beyond maxBytes the oldest bytes are dropped.
    void append(const QByteArray& bytes);
    /// Every byte held, oldest first; leaves the buffer empty.
    [[nodiscard]] QByteArray drain();
    void clear();

private:
    QByteArray m_data;
};

} // namespace quorvel
