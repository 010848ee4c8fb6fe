#pragma once

#include "backend/OpenAIRealtimeTranscriptionClient.h"
#include "platform/Clock.h"

#include <QByteArray>

#include <cstdint>
#include <memory>

namespace quorvel {

/// Batches captured sound for the direct transcription client: passes every chunk on and decides when what was appended
/// is committed for transcription. Main thread; its operations may overlap where they suspend, its commits never do.
class RealtimeAudioPipeline final : public std::enable_shared_from_this<RealtimeAudioPipeline>
{
public:
    /// 100 ms of 16-bit mono sound at 24 kHz: less is not worth a transcription.
    static constexpr std::int64_t defaultMinimumCommitBytes = 4'800;
    /// Seconds. Long enough for a few words, short enough for a live transcript.
    static constexpr double defaultCommitInterval = 1.0;

    [[nodiscard]] static std::shared_ptr<RealtimeAudioPipeline>
    create(std::shared_ptr<OpenAIRealtimeTranscriptionClient> client, std::shared_ptr<platform::Clock> clock);

    /// Forgets what is pending, as for a new connection.
    void reset();
    /// Hands a chunk to the client. An empty chunk sends nothing; one that cannot be sent is not counted as pending.
    [[nodiscard]] Task<Result<>> append(QByteArray chunk);
    /// Commits when enough is pending for long enough, or at once with `force`, but never nothing and never while a
    /// commit is in flight. Tells whether it committed. What could not be committed stays pending.
    [[nodiscard]] Task<Result<bool>> commitIfReady(bool force);

    /// Bytes appended since the last commit.
    [[nodiscard]] std::int64_t pendingBytes() const { return m_pendingBytes; }

private:
    RealtimeAudioPipeline(std::shared_ptr<OpenAIRealtimeTranscriptionClient> client,
                          std::shared_ptr<platform::Clock> clock);

    [[nodiscard]] bool isCommitDue(bool force) const;

    std::shared_ptr<OpenAIRealtimeTranscriptionClient> m_client;
    std::shared_ptr<platform::Clock> m_clock;
    std::int64_t m_minimumCommitBytes = defaultMinimumCommitBytes;
    double m_commitInterval = defaultCommitInterval;
    std::int64_t m_pendingBytes = 0;
    Timestamp m_lastCommitAt;
    bool m_isCommitInFlight = false;
    int m_resets = 0;
};

} // namespace quorvel
