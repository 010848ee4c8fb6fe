#include "backend/RealtimeAudioPipeline.h"

#include <chrono>
#include <utility>

namespace quorvel {

std::shared_ptr<RealtimeAudioPipeline>
RealtimeAudioPipeline::create(std::shared_ptr<OpenAIRealtimeTranscriptionClient> client,
                              std::shared_ptr<platform::Clock> clock)
{
    return std::shared_ptr<RealtimeAudioPipeline>(new RealtimeAudioPipeline(std::move(client), std::move(clock)));
}

RealtimeAudioPipeline::RealtimeAudioPipeline(std::shared_ptr<OpenAIRealtimeTranscriptionClient> client,
                                             std::shared_ptr<platform::Clock> clock)
    : m_client(std::move(client))
    , m_clock(std::move(clock))
    , m_lastCommitAt(m_clock->now())
{
}

void RealtimeAudioPipeline::reset()
{
    m_pendingBytes = 0;
    m_lastCommitAt = m_clock->now();
    m_isCommitInFlight = false;
    ++m_resets;
}

Task<Result<>> RealtimeAudioPipeline::append(QByteArray chunk)
{
    const auto self = shared_from_this();
    const std::int64_t size = chunk.size();
    if (size == 0) {
        co_return Result<>();
    }
    const Result<> sent = co_await m_client->appendAudio(std::move(chunk));
    if (sent) {
        m_pendingBytes += size;
    }
    co_return sent;
}

Task<Result<bool>> RealtimeAudioPipeline::commitIfReady(bool force)
{
    const auto self = shared_from_this();
    if (!isCommitDue(force)) {
        co_return false;
    }
    const std::int64_t committed = m_pendingBytes;
    const int resets = m_resets;
    m_isCommitInFlight = true;
    const Result<> sent = co_await m_client->commitAudio();
    if (resets != m_resets) {
        co_return false; // What was committed belongs to a connection that is gone.
    }
    m_isCommitInFlight = false;
    if (!sent) {
        co_return std::unexpected(sent.error());
    }
    // Sound that was appended meanwhile belongs to the next commit.
    m_pendingBytes -= committed;
    m_lastCommitAt = m_clock->now();
    co_return true;
}

bool RealtimeAudioPipeline::isCommitDue(bool force) const
{
    if (m_isCommitInFlight || m_pendingBytes == 0) {
        return false;
    }
    const std::chrono::duration<double> waited = m_clock->now() - m_lastCommitAt;
    return force || (m_pendingBytes >= m_minimumCommitBytes && waited.count() >= m_commitInterval);
}

} // namespace quorvel
