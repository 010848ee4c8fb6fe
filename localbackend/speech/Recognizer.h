#pragma once

#include "support/Clock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::localbackend {

/// What a recogniser tells about one stream of sound.
struct RecognitionEvent
{
    enum class Kind : std::uint8_t {
        Partial,  ///< text: the latest guess for the phrase that is being spoken
        Final,    ///< text: the finished phrase, never empty
        Nothing,  ///< a phrase ended in which no word was recognised
        Skipped,  ///< sound was left out because recognition fell behind; skipped tells how much
        CaughtUp, ///< recognition keeps up again after it left sound out
        Failed,   ///< recognition of this stream ended; text is a sentence for the user
    };

    Kind kind = Kind::Partial;
    std::string text = {};
    std::chrono::milliseconds skipped{};
    SteadyTime audioArrival = {}; ///< when the newest sound that this event rests on arrived
};

/// One stream of sound that is being recognised. Operations are called on one thread; none of them waits.
/// Destroying it ends recognition; no event comes afterwards but those on their way.
class RecognitionStream
{
public:
    RecognitionStream() = default;
    RecognitionStream(const RecognitionStream&) = delete;
    RecognitionStream(RecognitionStream&&) = delete;
    RecognitionStream& operator=(const RecognitionStream&) = delete;
    RecognitionStream& operator=(RecognitionStream&&) = delete;
    virtual ~RecognitionStream() = default;

    /// The next samples: 16-bit, mono, 24,000 a second.
    virtual void feed(std::vector<std::int16_t> samples, SteadyTime arrival) = 0;

    /// No sound will come for a while: a phrase that is under way ends here.
    virtual void pause() = 0;
};

/// Turns streams of sound into text. Streams do not slow one another beyond the share of the processor they take.
class Recognizer
{
public:
    using Handler = std::function<void(RecognitionEvent)>;

    Recognizer() = default;
    Recognizer(const Recognizer&) = delete;
    Recognizer(Recognizer&&) = delete;
    Recognizer& operator=(const Recognizer&) = delete;
    Recognizer& operator=(Recognizer&&) = delete;
    virtual ~Recognizer() = default;

    /// Begins a stream. The handler is called on a thread of the recogniser, in order, and must not block.
    [[nodiscard]] virtual std::unique_ptr<RecognitionStream> open(Handler handler) = 0;
};

} // namespace quorvel::localbackend
