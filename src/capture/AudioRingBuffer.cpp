#include "capture/AudioRingBuffer.h"

#include <QByteArrayView>

#include <algorithm>

namespace quorvel {

AudioRingBuffer::AudioRingBuffer()
    : m_bytes(maxBytes)
{
}

void AudioRingBuffer::append(const QByteArray& bytes)
{
    const QByteArrayView kept = QByteArrayView(bytes).last(std::min<qsizetype>(bytes.size(), maxBytes));
    const std::int64_t end = (m_oldest + m_count) % maxBytes;
    const qsizetype untilWrap = std::min<qsizetype>(kept.size(), maxBytes - end);
    std::ranges::copy(kept.first(untilWrap), m_bytes.begin() + end);
    std::ranges::copy(kept.sliced(untilWrap), m_bytes.begin());

    const std::int64_t dropped = std::max<std::int64_t>(0, m_count + kept.size() - maxBytes);
    m_oldest = (m_oldest + dropped) % maxBytes;
    m_count += kept.size() - dropped;
}

QByteArray AudioRingBuffer::drain()
{
    QByteArray drained;
    drained.reserve(m_count);
    const std::int64_t untilWrap = std::min(m_count, maxBytes - m_oldest);
    drained.append(m_bytes.data() + m_oldest, untilWrap);
    drained.append(m_bytes.data(), m_count - untilWrap);
    clear();
    return drained;
}

void AudioRingBuffer::clear()
{
    m_oldest = 0;
    m_count = 0;
}

} // namespace quorvel
