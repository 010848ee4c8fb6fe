#include "capture/SampleKernels.h"

#include <algorithm>
#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace quorvel {

namespace {

constexpr float fullScale = 32767.0F;

void floatToPcm16Plain(const std::byte* samples, std::size_t count, std::byte* pcm16)
{
    for (std::size_t index = 0; index < count; ++index) {
        float sample = 0.0F;
        std::memcpy(&sample, samples + index * sizeof(float), sizeof(float));
        const float scaled = sample < 1.0F ? std::max(sample, -1.0F) * fullScale : fullScale;
        const auto bits = static_cast<std::uint16_t>(static_cast<std::int16_t>(scaled));
        pcm16[2 * index] = static_cast<std::byte>(bits & 0xFFU);
        pcm16[2 * index + 1] = static_cast<std::byte>(bits >> 8U);
    }
}

std::uint64_t sumOfSquaresPlain(const std::byte* pcm16, std::size_t count)
{
    std::uint64_t sum = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const auto low = std::to_integer<std::uint16_t>(pcm16[2 * index]);
        const auto high = std::to_integer<std::uint16_t>(pcm16[2 * index + 1]);
        const std::int64_t sample = static_cast<std::int16_t>(static_cast<std::uint16_t>(low | high << 8U));
        sum += static_cast<std::uint64_t>(sample * sample);
    }
    return sum;
}

#if defined(__x86_64__)

using Samples8 = short __attribute__((vector_size(16)));
using Samples16 = short __attribute__((vector_size(32)));

constexpr short lowest = -32767;

// One instruction; the compilers have different names for it, and make two of a comparison.
[[gnu::always_inline]] inline Samples8 larger(Samples8 left, Samples8 right)
{
#if defined(__clang__)
    return __builtin_elementwise_max(left, right);
#else
    return __builtin_ia32_pmaxsw128(left, right);
#endif
}

[[gnu::target("avx2"), gnu::always_inline]] inline Samples16 larger(Samples16 left, Samples16 right)
{
#if defined(__clang__)
    return __builtin_elementwise_max(left, right);
#else
    return __builtin_ia32_pmaxsw256(left, right);
#endif
}

// The rule in as few instructions as it takes. The second operand of the minimum wins when the first is NaN, which is
// what the rule wants of NaN. What lies below -1 is left to the conversions, which saturate at -32768, and then raised
// to -32767.

[[gnu::always_inline]] inline __m128i scaledToIntegers(const std::byte* samples)
{
    const __m128 value = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(samples)));
    return _mm_cvttps_epi32(__builtin_ia32_minps(value, _mm_set1_ps(1.0F)) * _mm_set1_ps(fullScale));
}

[[gnu::always_inline]] inline void convertEightSse2(const std::byte* samples, std::byte* pcm16)
{
    const __m128i packed = _mm_packs_epi32(scaledToIntegers(samples), scaledToIntegers(samples + sizeof(__m128)));
    const Samples8 raised = larger(reinterpret_cast<Samples8>(packed), Samples8{} + lowest);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pcm16), reinterpret_cast<__m128i>(raised));
}

void floatToPcm16Sse2(const std::byte* samples, std::size_t count, std::byte* pcm16)
{
    constexpr std::size_t step = 16;
    const std::size_t whole = count - count % step;
    for (std::size_t index = 0; index < whole; index += step) {
        convertEightSse2(samples + index * sizeof(float), pcm16 + 2 * index);
        convertEightSse2(samples + (index + 8) * sizeof(float), pcm16 + 2 * (index + 8));
    }
    floatToPcm16Plain(samples + whole * sizeof(float), count - whole, pcm16 + 2 * whole);
}

// A pair of squares is at most 2^31, which fits 32 bits only without a sign: each is widened before it is added.
std::uint64_t sumOfSquaresSse2(const std::byte* pcm16, std::size_t count)
{
    constexpr std::size_t step = 8;
    const std::size_t whole = count - count % step;
    const __m128i lowHalf = _mm_set1_epi64x(0xFFFF'FFFFLL);
    __m128i even = _mm_setzero_si128();
    __m128i odd = _mm_setzero_si128();
    for (std::size_t index = 0; index < whole; index += step) {
        const __m128i samples = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pcm16 + 2 * index));
        const __m128i pairs = _mm_madd_epi16(samples, samples);
        even += pairs & lowHalf;
        odd += _mm_srli_epi64(pairs, 32);
    }
    std::array<std::uint64_t, 2> sums{};
    even += odd;
    std::memcpy(sums.data(), &even, sizeof(even));
    return sums[0] + sums[1] + sumOfSquaresPlain(pcm16 + 2 * whole, count - whole);
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i scaledToIntegersAvx2(const std::byte* samples)
{
    const __m256 value = _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples)));
    return _mm256_cvttps_epi32(__builtin_ia32_minps256(value, _mm256_set1_ps(1.0F)) * _mm256_set1_ps(fullScale));
}

[[gnu::target("avx2"), gnu::always_inline]] inline void convertSixteenAvx2(const std::byte* samples, std::byte* pcm16)
{
    constexpr int quartersInOrder = 0b11'01'10'00; // packing works within each 128-bit half
    const __m256i packed =
        _mm256_packs_epi32(scaledToIntegersAvx2(samples), scaledToIntegersAvx2(samples + sizeof(__m256)));
    const Samples16 raised = larger(reinterpret_cast<Samples16>(packed), Samples16{} + lowest);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pcm16),
                        _mm256_permute4x64_epi64(reinterpret_cast<__m256i>(raised), quartersInOrder));
}

[[gnu::target("avx2")]] void floatToPcm16Avx2(const std::byte* samples, std::size_t count, std::byte* pcm16)
{
    constexpr std::size_t step = 32;
    const std::size_t whole = count - count % step;
    for (std::size_t index = 0; index < whole; index += step) {
        convertSixteenAvx2(samples + index * sizeof(float), pcm16 + 2 * index);
        convertSixteenAvx2(samples + (index + 16) * sizeof(float), pcm16 + 2 * (index + 16));
    }
    floatToPcm16Plain(samples + whole * sizeof(float), count - whole, pcm16 + 2 * whole);
}

[[gnu::target("avx2")]] std::uint64_t sumOfSquaresAvx2(const std::byte* pcm16, std::size_t count)
{
    constexpr std::size_t step = 16;
    const std::size_t whole = count - count % step;
    const __m256i lowHalf = _mm256_set1_epi64x(0xFFFF'FFFFLL);
    __m256i even = _mm256_setzero_si256();
    __m256i odd = _mm256_setzero_si256();
    for (std::size_t index = 0; index < whole; index += step) {
        const __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pcm16 + 2 * index));
        const __m256i pairs = _mm256_madd_epi16(samples, samples);
        even += pairs & lowHalf;
        odd += _mm256_srli_epi64(pairs, 32);
    }
    std::array<std::uint64_t, 4> sums{};
    even += odd;
    std::memcpy(sums.data(), &even, sizeof(even));
    return sums[0] + sums[1] + sums[2] + sums[3] + sumOfSquaresPlain(pcm16 + 2 * whole, count - whole);
}

constexpr std::array kernels{
    SampleKernels{.name = "AVX2", .floatToPcm16 = floatToPcm16Avx2, .sumOfSquares = sumOfSquaresAvx2},
    SampleKernels{.name = "SSE2", .floatToPcm16 = floatToPcm16Sse2, .sumOfSquares = sumOfSquaresSse2},
    SampleKernels{.name = "plain", .floatToPcm16 = floatToPcm16Plain, .sumOfSquares = sumOfSquaresPlain},
};

std::size_t firstAvailable()
{
    return __builtin_cpu_supports("avx2") != 0 ? 0 : 1;
}

#else

constexpr std::array kernels{
    SampleKernels{.name = "plain", .floatToPcm16 = floatToPcm16Plain, .sumOfSquares = sumOfSquaresPlain},
};

std::size_t firstAvailable()
{
    return 0;
}

#endif

} // namespace

std::span<const SampleKernels> availableSampleKernels()
{
    return std::span(kernels).subspan(firstAvailable());
}

const SampleKernels& sampleKernels()
{
    static const SampleKernels& fastest = availableSampleKernels().front();
    return fastest;
}

} // namespace quorvel
