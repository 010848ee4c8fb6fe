#pragma once

#include "speech/PhraseDecoder.h"
#include "speech/PhraseDetector.h"
#include "speech/RecognitionLimits.h"
#include "speech/Recognizer.h"
#include "speech/Resampler.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::localbackend {

class RecognitionWorker;

/// The recognition of one stream, on its worker's thread: resamples, finds phrases, has them decoded in small steps.
class StreamRecognition : public std::enable_shared_from_this<StreamRecognition>
{
public:
    StreamRecognition(RecognitionWorker& worker, std::uint64_t number, RecognitionLimits limits,
                      Recognizer::Handler handler);

    void feed(std::vector<std::int16_t> samples, SteadyTime arrival);
    void pause();
    void close();

    [[nodiscard]] bool isClosed() const { return m_closed; }

    /// Recognises the next tenth of a second of what waits.
    void step();
    /// Goes on with the decoder that it has waited for.
    void resume(std::unique_ptr<PhraseDecoder> decoder);

private:
    struct Chunk
    {
        std::vector<std::int16_t> samples;
        SteadyTime arrival;
    };

    void wake();
    void leaveOldestOut();
    void takeFrames();
    [[nodiscard]] bool beginPhrase();
    [[nodiscard]] bool beginWith(std::unique_ptr<PhraseDecoder> decoder);
    void decode(std::span<const std::int16_t> samples);
    void tellPartial();
    void endPhrase();
    void fail(const Failure& failure);
    void tell(RecognitionEvent::Kind kind, std::string text = {}, std::chrono::milliseconds skipped = {});

    RecognitionWorker& m_worker;
    RecognitionLimits m_limits;
    Recognizer::Handler m_handler;
    ChannelState m_channel;
    Resampler m_resampler;
    PhraseDetector m_detector;
    std::unique_ptr<PhraseDecoder> m_decoder;

    std::deque<Chunk> m_queue;
    std::size_t m_queuedSamples = 0;       ///< at the input rate
    std::vector<std::int16_t> m_resampled; ///< not yet looked at
    std::deque<std::int16_t> m_lead;       ///< the sound just before a phrase
    SteadyTime m_arrival;
    std::string m_lastPartial;
    std::size_t m_sincePartial = 0;
    bool m_scheduled = false;
    bool m_waiting = false; ///< for a decoder, with a phrase begun
    bool m_pausePending = false;
    bool m_behind = false;
    bool m_closed = false;
};

} // namespace quorvel::localbackend
