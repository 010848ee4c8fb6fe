#include "capture/AudioSampleConverter.h"
#include "capture/SampleKernels.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace quorvel {

namespace {

constexpr std::size_t sampleCount = 24'000;

std::vector<float> uniformSamples()
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-1.2F, 1.2F);
    std::vector<float> samples(sampleCount);
    std::ranges::generate(samples, [&] { return uniform(random); });
    return samples;
}

platform::AudioSampleBuffer bufferOf(std::span<const float> samples)
{
    constexpr platform::AudioStreamDescription floats{.bitsPerChannel = 32,
                                                      .formatFlags = platform::AudioStreamDescription::isFloat};
    return {.isValid = true, .description = floats, .data = std::as_bytes(samples)};
}

QByteArray chunk()
{
    const std::vector<float> samples = uniformSamples();
    return AudioSampleConverter::pcm16Mono24k(bufferOf(samples)).value_or(QByteArray());
}

/// Runs `work` and reports its time per sample.
template <typename Work>
void measure(benchmark::State& state, const Work& work)
{
    for ([[maybe_unused]] auto iteration : state) {
        work();
        benchmark::ClobberMemory();
    }
    state.counters["per_sample"] = benchmark::Counter(
        static_cast<double>(sampleCount), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void copyOfTheInput(benchmark::State& state)
{
    const std::vector<float> samples = uniformSamples();
    std::vector<float> copy(sampleCount);
    measure(state, [&] {
        std::memcpy(copy.data(), samples.data(), sampleCount * sizeof(float));
        benchmark::DoNotOptimize(copy.data());
    });
}

void conversion(benchmark::State& state, const SampleKernels& kernels)
{
    const std::vector<float> samples = uniformSamples();
    std::vector<std::byte> pcm(2 * sampleCount);
    measure(state, [&] {
        kernels.floatToPcm16(std::as_bytes(std::span(samples)).data(), sampleCount, pcm.data());
        benchmark::DoNotOptimize(pcm.data());
    });
}

void conversionBySwresample(benchmark::State& state)
{
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    SwrContext* context = nullptr;
    if (swr_alloc_set_opts2(&context, &mono, AV_SAMPLE_FMT_S16, 24'000, &mono, AV_SAMPLE_FMT_FLT, 24'000, 0, nullptr) <
            0 ||
        swr_init(context) < 0) {
        state.SkipWithError("libswresample refuses the formats");
        return;
    }
    const std::vector<float> samples = uniformSamples();
    std::vector<std::uint8_t> pcm(2 * sampleCount);
    const auto* source = reinterpret_cast<const std::uint8_t*>(samples.data());
    std::uint8_t* target = pcm.data();
    measure(state, [&] {
        swr_convert(context, &target, static_cast<int>(sampleCount), &source, static_cast<int>(sampleCount));
        benchmark::DoNotOptimize(pcm.data());
    });
    swr_free(&context);
}

void conversionWithItsAllocation(benchmark::State& state)
{
    const std::vector<float> samples = uniformSamples();
    const platform::AudioSampleBuffer buffer = bufferOf(samples);
    measure(state, [&] { benchmark::DoNotOptimize(AudioSampleConverter::pcm16Mono24k(buffer)); });
}

void loudness(benchmark::State& state, const SampleKernels& kernels)
{
    const QByteArray pcm = chunk();
    const auto* bytes = reinterpret_cast<const std::byte*>(pcm.constData());
    measure(state, [&] { benchmark::DoNotOptimize(kernels.sumOfSquares(bytes, sampleCount)); });
}

void loudnessByDoubles(benchmark::State& state)
{
    const QByteArray pcm = chunk();
    std::vector<std::int16_t> samples(sampleCount);
    std::memcpy(samples.data(), pcm.constData(), 2 * sampleCount);
    measure(state, [&] {
        double sum = 0;
        for (const std::int16_t sample : samples) {
            const double level = sample / 32767.0;
            sum += level * level;
        }
        benchmark::DoNotOptimize(std::sqrt(sum / static_cast<double>(sampleCount)));
    });
}

} // namespace

} // namespace quorvel

int main(int argc, char** argv)
{
    using namespace quorvel;
    benchmark::RegisterBenchmark("copy of the input", copyOfTheInput);
    for (const SampleKernels& kernels : availableSampleKernels()) {
        benchmark::RegisterBenchmark((std::string("conversion/") + kernels.name).c_str(),
                                     [&kernels](benchmark::State& state) { conversion(state, kernels); });
    }
    benchmark::RegisterBenchmark("conversion/libswresample", conversionBySwresample);
    benchmark::RegisterBenchmark("conversion/with its allocation", conversionWithItsAllocation);
    for (const SampleKernels& kernels : availableSampleKernels()) {
        benchmark::RegisterBenchmark((std::string("loudness/") + kernels.name).c_str(),
                                     [&kernels](benchmark::State& state) { loudness(state, kernels); });
    }
    benchmark::RegisterBenchmark("loudness/plain double loop", loudnessByDoubles);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
