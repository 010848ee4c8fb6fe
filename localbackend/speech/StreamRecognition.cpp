#include "speech/StreamRecognition.h"

#include "speech/RecognitionWorker.h"

#include <algorithm>
#include <utility>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t inputPerMillisecond = 24;
constexpr std::size_t samplesPerMillisecond = 16;
/// Streams of one thread take turns after this much sound.
constexpr std::size_t stepSamples = 100 * inputPerMillisecond;
constexpr std::size_t partialInterval = 100 * samplesPerMillisecond;
/// The beginning of a word comes before its energy does.
constexpr std::size_t leadSamples = 300 * samplesPerMillisecond;
constexpr std::chrono::milliseconds caughtUpBelow{500};

std::size_t inputSamples(std::chrono::milliseconds time)
{
    return static_cast<std::size_t>(time.count()) * inputPerMillisecond;
}

/// The recogniser's words as a line to read: the sentence's first letter and the pronoun in upper case.
std::string presentable(std::string text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool wordStart = i == 0 || text[i - 1] == ' ';
        const bool alone = i + 1 == text.size() || text[i + 1] == ' ' || text[i + 1] == '\'';
        const bool upper = i == 0 ? text[i] >= 'a' && text[i] <= 'z' : text[i] == 'i' && wordStart && alone;
        if (upper)
            text[i] = static_cast<char>(text[i] - 'a' + 'A');
    }
    return text;
}

} // namespace

StreamRecognition::StreamRecognition(RecognitionWorker& worker, std::uint64_t number, RecognitionLimits limits,
                                     Recognizer::Handler handler)
    : m_worker(worker)
    , m_limits(limits)
    , m_handler(std::move(handler))
{
    m_channel.stream = number;
}

void StreamRecognition::tell(RecognitionEvent::Kind kind, std::string text, std::chrono::milliseconds skipped)
{
    m_handler({.kind = kind, .text = std::move(text), .skipped = skipped, .audioArrival = m_arrival});
}

void StreamRecognition::feed(std::vector<std::int16_t> samples, SteadyTime arrival)
{
    if (m_closed)
        return;
    m_queuedSamples += samples.size();
    m_queue.push_back({std::move(samples), arrival});
    if (m_queuedSamples > inputSamples(m_limits.mostWaiting))
        leaveOldestOut();
    wake();
}

void StreamRecognition::pause()
{
    m_pausePending = true;
    wake();
}

void StreamRecognition::close()
{
    m_closed = true;
    m_queue.clear();
    if (m_decoder) {
        // What was still being said is of no use to a session that is gone.
        [[maybe_unused]] const auto unsaid = m_decoder->finish(m_channel);
        m_worker.giveBack(std::move(m_decoder));
    }
}

void StreamRecognition::wake()
{
    if (!m_closed && !m_waiting && !std::exchange(m_scheduled, true))
        m_worker.schedule(shared_from_this());
}

void StreamRecognition::leaveOldestOut()
{
    // What was said before the gap and what comes after it are not one phrase.
    if (m_decoder)
        endPhrase();
    const std::size_t before = m_queuedSamples;
    while (m_queue.size() > 1 && m_queuedSamples > inputSamples(m_limits.keptWaiting)) {
        m_queuedSamples -= m_queue.front().samples.size();
        m_queue.pop_front();
    }
    m_behind = true;
    tell(RecognitionEvent::Kind::Skipped, {},
         std::chrono::milliseconds{(before - m_queuedSamples) / inputPerMillisecond});
}

void StreamRecognition::step()
{
    m_scheduled = false;
    if (m_closed)
        return;
    if (m_waiting) {
        m_waiting = false;
        if (!beginPhrase())
            return;
    }
    std::size_t taken = 0;
    while (!m_queue.empty() && taken < stepSamples) {
        Chunk& chunk = m_queue.front();
        const std::size_t count = std::min(chunk.samples.size(), stepSamples - taken);
        m_arrival = chunk.arrival;
        m_resampler.convert(std::span(chunk.samples).first(count), m_resampled);
        taken += count;
        m_queuedSamples -= count;
        if (count == chunk.samples.size())
            m_queue.pop_front();
        else
            chunk.samples.erase(chunk.samples.begin(), chunk.samples.begin() + static_cast<std::ptrdiff_t>(count));
    }
    takeFrames();
    if (m_closed || m_waiting)
        return;
    if (m_behind && m_queuedSamples < inputSamples(caughtUpBelow)) {
        m_behind = false;
        tell(RecognitionEvent::Kind::CaughtUp);
    }
    if (!m_queue.empty()) {
        wake();
    } else if (std::exchange(m_pausePending, false) && m_decoder) {
        m_detector.end();
        endPhrase();
    }
}

void StreamRecognition::resume(std::unique_ptr<PhraseDecoder> decoder)
{
    if (m_closed) {
        m_worker.giveBack(std::move(decoder));
        return;
    }
    m_waiting = false;
    if (beginWith(std::move(decoder)))
        step();
}

void StreamRecognition::takeFrames()
{
    std::size_t at = 0;
    while (!m_closed && !m_waiting && at + PhraseDetector::frameSamples <= m_resampled.size()) {
        const auto frame = std::span(m_resampled).subspan(at, PhraseDetector::frameSamples);
        at += PhraseDetector::frameSamples;
        const auto change = m_detector.take(frame);
        if (m_decoder) {
            decode(frame);
            if (change == PhraseDetector::Change::End)
                endPhrase();
            continue;
        }
        m_lead.insert(m_lead.end(), frame.begin(), frame.end());
        if (m_lead.size() > leadSamples)
            m_lead.erase(m_lead.begin(), m_lead.begin() + static_cast<std::ptrdiff_t>(m_lead.size() - leadSamples));
        if (change == PhraseDetector::Change::Begin)
            static_cast<void>(beginPhrase());
    }
    m_resampled.erase(m_resampled.begin(), m_resampled.begin() + static_cast<std::ptrdiff_t>(at));
}

/// False when the stream has to wait for a decoder or has failed.
bool StreamRecognition::beginPhrase()
{
    auto decoder = m_worker.borrow(shared_from_this());
    if (!decoder) {
        fail(decoder.error());
        return false;
    }
    if (!*decoder) {
        m_waiting = true;
        return false;
    }
    return beginWith(std::move(*decoder));
}

/// False when the stream has failed.
bool StreamRecognition::beginWith(std::unique_ptr<PhraseDecoder> decoder)
{
    m_decoder = std::move(decoder);
    m_lastPartial.clear();
    m_sincePartial = 0;
    if (const auto begun = m_decoder->begin(m_channel); !begun) {
        fail(begun.error());
        return false;
    }
    const std::vector<std::int16_t> lead(m_lead.begin(), m_lead.end());
    m_lead.clear();
    decode(lead);
    return !m_closed;
}

void StreamRecognition::decode(std::span<const std::int16_t> samples)
{
    if (const auto processed = m_decoder->process(samples); !processed) {
        fail(processed.error());
        return;
    }
    m_sincePartial += samples.size();
    if (m_sincePartial >= partialInterval)
        tellPartial();
}

void StreamRecognition::tellPartial()
{
    m_sincePartial = 0;
    std::string text = m_decoder->partial();
    if (text.empty() || text == m_lastPartial)
        return;
    m_lastPartial = std::move(text);
    tell(RecognitionEvent::Kind::Partial, presentable(m_lastPartial));
}

void StreamRecognition::endPhrase()
{
    if (!m_decoder)
        return;
    auto text = m_decoder->finish(m_channel);
    m_worker.giveBack(std::move(m_decoder));
    m_detector.end();
    if (!text)
        fail(text.error());
    else if (text->empty())
        tell(RecognitionEvent::Kind::Nothing);
    else
        tell(RecognitionEvent::Kind::Final, presentable(std::move(*text)));
}

void StreamRecognition::fail(const Failure& failure)
{
    m_closed = true;
    m_queue.clear();
    // The decoder may be what failed: it is not given back to be used again, only its place is.
    if (m_decoder)
        m_worker.discard(std::move(m_decoder));
    tell(RecognitionEvent::Kind::Failed, failure.sentence);
}

} // namespace quorvel::localbackend
