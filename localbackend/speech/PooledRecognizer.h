#pragma once

#include "speech/PhraseDecoder.h"
#include "speech/RecognitionLimits.h"
#include "speech/Recognizer.h"

#include <memory>
#include <vector>

namespace quorvel::localbackend {

class RecognitionWorker;

/// Recognises many streams on a few threads. Sound is split into phrases; a phrase borrows a decoder of its thread, so
/// the number of decoders, and with it memory, is bounded by what the processor can keep up with, not by the number of
/// streams. A stream whose sound waits for longer than the limit loses the oldest of it, and says so.
class PooledRecognizer : public Recognizer
{
public:
    /// Makes the first decoder at once, so that a model that cannot be loaded is found here. Fails with Unavailable.
    [[nodiscard]] static Result<std::unique_ptr<PooledRecognizer>> make(const DecoderSourceFactory& sources,
                                                                        RecognitionLimits limits);

    PooledRecognizer(const PooledRecognizer&) = delete;
    PooledRecognizer(PooledRecognizer&&) = delete;
    PooledRecognizer& operator=(const PooledRecognizer&) = delete;
    PooledRecognizer& operator=(PooledRecognizer&&) = delete;
    ~PooledRecognizer() override;

    [[nodiscard]] std::unique_ptr<RecognitionStream> open(Handler handler) override;

private:
    class Handle;

    explicit PooledRecognizer(std::vector<std::shared_ptr<RecognitionWorker>> workers);

    std::vector<std::shared_ptr<RecognitionWorker>> m_workers;
    std::uint64_t m_lastStream = 0;
};

} // namespace quorvel::localbackend
