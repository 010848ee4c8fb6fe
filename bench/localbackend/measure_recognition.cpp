// Measures the recogniser on the recordings of a manifest (lines of "file <tab> words"): word errors, CPU time for each
// second of sound, partial results a second, and the time from the end of speech to the final text.
//
//     measure_recognition MANIFEST [--fast]
//
// Sound is fed in real time in frames of 20 ms; with --fast as fast as it is taken, which leaves the times out.

#include "SoundFile.h"
#include "speech/PooledRecognizer.h"
#include "speech/SphinxDecoder.h"
#include "support/Text.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace quorvel::localbackend;
using Steady = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

namespace {

constexpr std::size_t rate = 24'000;
constexpr std::size_t frame = rate / 50;

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::size_t wordErrors(const std::vector<std::string_view>& expected, const std::vector<std::string_view>& actual)
{
    std::vector<std::size_t> row(actual.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= expected.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j < row.size(); ++j) {
            const std::size_t change = diagonal + (expected[i - 1] == actual[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

/// The end of speech: the last 10 ms that are louder than -46 dB of full scale.
std::size_t speechEnd(const std::vector<std::int16_t>& samples)
{
    constexpr std::size_t window = rate / 100;
    constexpr double threshold = 160.0 * 160.0 * window;
    for (std::size_t end = samples.size(); end >= window; end -= window) {
        double energy = 0;
        for (std::size_t i = end - window; i < end; ++i)
            energy += static_cast<double>(samples[i]) * samples[i];
        if (energy > threshold)
            return end;
    }
    return 0;
}

struct Outcome
{
    std::string text;
    int partials = 0;
    double speechSeconds = 0;
    double delayAfterSpeech = 0; ///< seconds from the end of speech to the last final
    double delayAfterSound = 0;  ///< seconds from the arrival of the sound it needed to the last final
};

/// Written on the recognition thread, read on the other. On a busy machine the two can meet.
class Collected
{
public:
    struct State
    {
        Outcome outcome;
        Steady::time_point lastFinal;
    };

    void take(const RecognitionEvent& event);
    void clear()
    {
        const std::lock_guard lock(m_mutex);
        m_state = {};
    }
    [[nodiscard]] State state()
    {
        const std::lock_guard lock(m_mutex);
        return m_state;
    }

private:
    std::mutex m_mutex;
    State m_state;
};

void Collected::take(const RecognitionEvent& event)
{
    using Kind = RecognitionEvent::Kind;
    const std::lock_guard lock(m_mutex);
    if (event.kind == Kind::Partial)
        ++m_state.outcome.partials;
    if (event.kind == Kind::Final) {
        m_state.outcome.text += (m_state.outcome.text.empty() ? "" : " ") + event.text;
        m_state.lastFinal = Steady::now();
        m_state.outcome.delayAfterSound = Seconds(m_state.lastFinal - event.audioArrival).count();
    }
    if (event.kind == Kind::Skipped || event.kind == Kind::Failed)
        std::fprintf(stderr, "sound was skipped or recognition failed\n");
}

/// Feeds one recording to the stream and waits until its last final has come.
Outcome recognize(RecognitionStream& stream, Collected& collected, const std::vector<std::int16_t>& samples, bool fast)
{
    collected.clear();
    const auto start = Steady::now();
    for (std::size_t at = 0; at < samples.size(); at += frame) {
        const auto end = std::min(at + frame, samples.size());
        if (!fast)
            std::this_thread::sleep_until(start + std::chrono::microseconds{end * 1'000'000 / rate});
        stream.feed(
            {samples.begin() + static_cast<std::ptrdiff_t>(at), samples.begin() + static_cast<std::ptrdiff_t>(end)},
            Steady::now());
    }
    stream.pause();
    auto seen = Steady::time_point{};
    Collected::State state;
    do {
        seen = state.lastFinal;
        std::this_thread::sleep_for(std::chrono::milliseconds{fast ? 700 : 100});
        state = collected.state();
    } while (state.lastFinal == Steady::time_point{} || seen != state.lastFinal);
    const std::size_t end = speechEnd(samples);
    Outcome outcome = state.outcome;
    outcome.speechSeconds = static_cast<double>(end) / static_cast<double>(rate);
    const auto speechOver = start + std::chrono::microseconds{end * 1'000'000 / rate};
    outcome.delayAfterSpeech = Seconds(state.lastFinal - speechOver).count();
    return outcome;
}

void report(const char* name, std::vector<double> values)
{
    std::ranges::sort(values);
    double sum = 0;
    for (const double value : values)
        sum += value;
    std::printf("%s: mean %.0f ms, median %.0f ms, max %.0f ms\n", name,
                1000 * sum / static_cast<double>(values.size()), 1000 * values[values.size() / 2],
                1000 * values.back());
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    if (arguments.empty()) {
        std::fprintf(stderr, "usage: measure_recognition MANIFEST [--fast]\n");
        return 2;
    }
    const bool fast = std::ranges::find(arguments, "--fast") != arguments.end();
    auto recognizer = PooledRecognizer::make([] { return makeSphinxSource({}); },
                                             {.threads = 1, .mostWaiting = std::chrono::hours{1}});
    if (!recognizer) {
        std::fprintf(stderr, "%s\n", recognizer.error().sentence.c_str());
        return 1;
    }
    std::ifstream manifest{std::string(arguments.front())};
    std::size_t words = 0;
    std::size_t errors = 0;
    double soundSeconds = 0;
    double speechSeconds = 0;
    int partials = 0;
    std::vector<double> afterSpeech;
    std::vector<double> afterSound;
    // One stream for all of them, as in a meeting: recognition adapts to the voice and the channel.
    Collected collected;
    const auto stream = (*recognizer)->open([&](const RecognitionEvent& event) { collected.take(event); });
    const double cpuBefore = cpuSeconds();
    const auto wallBefore = Steady::now();
    for (std::string line; std::getline(manifest, line);) {
        const auto tab = line.find('\t');
        if (tab == std::string::npos)
            continue;
        const auto samples = readRecording(line.substr(0, tab));
        const std::string expected = line.substr(tab + 1);
        const Outcome outcome = recognize(*stream, collected, samples, fast);
        const std::string actual = lowerCased(outcome.text);
        const auto expectedWords = splitTrimmed(expected, " ");
        const std::size_t wrong = wordErrors(expectedWords, splitTrimmed(actual, " "));
        std::printf("%zu/%zu  %s\n      > %s\n", wrong, expectedWords.size(), expected.c_str(), outcome.text.c_str());
        words += expectedWords.size();
        errors += wrong;
        soundSeconds += static_cast<double>(samples.size()) / static_cast<double>(rate);
        speechSeconds += outcome.speechSeconds;
        partials += outcome.partials;
        afterSpeech.push_back(outcome.delayAfterSpeech);
        afterSound.push_back(outcome.delayAfterSound);
    }
    if (words == 0) {
        std::fprintf(stderr, "the manifest names no recordings\n");
        return 1;
    }
    const double cpu = cpuSeconds() - cpuBefore;
    const double wall = Seconds(Steady::now() - wallBefore).count();
    std::printf("\nword errors: %zu of %zu, %.1f %%\n", errors, words,
                100.0 * static_cast<double>(errors) / static_cast<double>(words));
    std::printf("sound: %.1f s, CPU %.1f s, real-time factor %.2f\n", soundSeconds, cpu, cpu / soundSeconds);
    if (!fast) {
        std::printf("CPU share of one core over the run: %.0f %%\n", 100 * cpu / wall);
        std::printf("partial results: %.1f a second of speech\n", partials / speechSeconds);
        report("end of speech to final", afterSpeech);
        report("arrival of the sound to final", afterSound);
    }
    return 0;
}
