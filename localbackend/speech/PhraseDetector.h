#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>

namespace quorvel::localbackend {

/// Finds phrases in a stream of sound by its energy over the noise floor, 10 ms at a time.
class PhraseDetector
{
public:
    /// Samples of one step at 16,000 a second.
    static constexpr std::size_t frameSamples = 160;
    /// A phrase begins when this many of the last ten frames are speech,
    static constexpr int beginFrames = 6;
    /// and ends after half a second that is silent: shorter pauses lie within sentences, longer ones delay the answer.
    static constexpr int endFrames = 50;
    /// A long phrase ends at the next short pause, a very long one anyway: its text has to become final at some time.
    static constexpr int longFrames = 1200;
    static constexpr int longEndFrames = 15;
    static constexpr int mostFrames = 2000;

    enum class Change : std::uint8_t { None, Begin, End };

    /// Takes the next frame, of frameSamples samples.
    [[nodiscard]] Change take(std::span<const std::int16_t> frame);

    /// Ends a phrase that is under way from outside.
    void end();

    [[nodiscard]] bool inPhrase() const { return m_inPhrase; }

private:
    [[nodiscard]] bool isSpeech(std::span<const std::int16_t> frame);

    double m_floor = 30; ///< decibels over one unit
    std::deque<bool> m_recent;
    bool m_inPhrase = false;
    int m_phraseFrames = 0;
    int m_silentFrames = 0;
};

} // namespace quorvel::localbackend
