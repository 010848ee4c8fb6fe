#include "speech/PhraseDetector.h"

#include <algorithm>
#include <cmath>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t recentFrames = 10;
/// Decibels over one unit of a 16-bit sample; full scale is 90.
constexpr double lowestFloor = 20;
constexpr double faintestSpeech = 38;
constexpr double speechOverFloor = 9;
/// The floor falls fast, as noise is what is left in pauses, and rises slowly: by 3 dB in a second of silence, by half
/// a decibel in one of speech, so that steady noise stops being taken for speech after a while.
constexpr double floorFall = 0.3;
constexpr double floorRise = 0.03;
constexpr double floorRiseInSpeech = 0.005;

double decibels(std::span<const std::int16_t> frame)
{
    std::int64_t sum = 0;
    for (const std::int16_t sample : frame)
        sum += std::int64_t{sample} * sample;
    return 10 * std::log10(1 + static_cast<double>(sum) / static_cast<double>(frame.size()));
}

} // namespace

bool PhraseDetector::isSpeech(std::span<const std::int16_t> frame)
{
    const double level = decibels(frame);
    const bool speech = level > std::max(m_floor + speechOverFloor, faintestSpeech);
    if (level < m_floor)
        m_floor += (level - m_floor) * floorFall;
    else
        m_floor += speech ? floorRiseInSpeech : floorRise;
    m_floor = std::max(m_floor, lowestFloor);
    return speech;
}

PhraseDetector::Change PhraseDetector::take(std::span<const std::int16_t> frame)
{
    const bool speech = isSpeech(frame);
    m_recent.push_back(speech);
    if (m_recent.size() > recentFrames)
        m_recent.pop_front();
    if (!m_inPhrase) {
        if (std::ranges::count(m_recent, true) < beginFrames)
            return Change::None;
        m_inPhrase = true;
        m_phraseFrames = 0;
        m_silentFrames = 0;
        return Change::Begin;
    }
    ++m_phraseFrames;
    m_silentFrames = speech ? 0 : m_silentFrames + 1;
    const bool pause = m_silentFrames >= (m_phraseFrames >= longFrames ? longEndFrames : endFrames);
    if (!pause && m_phraseFrames < mostFrames)
        return Change::None;
    end();
    return Change::End;
}

void PhraseDetector::end()
{
    m_inPhrase = false;
    m_recent.clear();
}

} // namespace quorvel::localbackend
