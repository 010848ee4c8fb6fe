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

// The comparisons compile to the minimum and maximum instructions, whose second operand wins when the first is NaN.
// That is the rule for NaN, and it makes both branches of the rule one product.

[[gnu::always_inline]] inline __m128i scaledToIntegers(const std::byte* samples)
{
    const __m128 one = _mm_set1_ps(1.0F);
    const __m128 minusOne = _mm_set1_ps(-1.0F);
    const __m128 value = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(samples)));
    const __m128 below = value < one ? value : one;
    const __m128 within = below > minusOne ? below : minusOne;
    return _mm_cvttps_epi32(within * _mm_set1_ps(fullScale));
}

void floatToPcm16Sse2(const std::byte* samples, std::size_t count, std::byte* pcm16)
{
    constexpr std::size_t step = 8;
    const std::size_t whole = count - count % step;
    for (std::size_t index = 0; index < whole; index += step) {
        const std::byte* source = samples + index * sizeof(float);
        const __m128i packed = _mm_packs_epi32(scaledToIntegers(source), scaledToIntegers(source + sizeof(__m128)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pcm16 + 2 * index), packed);
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
    const __m256 one = _mm256_set1_ps(1.0F);
    const __m256 minusOne = _mm256_set1_ps(-1.0F);
    const __m256 value = _mm256_castsi256_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples)));
    const __m256 below = value < one ? value : one;
    const __m256 within = below > minusOne ? below : minusOne;
    return _mm256_cvttps_epi32(within * _mm256_set1_ps(fullScale));
}

[[gnu::target("avx2")]] void floatToPcm16Avx2(const std::byte* samples, std::size_t count, std::byte* pcm16)
{
    constexpr std::size_t step = 16;
    constexpr int quartersInOrder = 0b11'01'10'00; // packing works within each 128-bit half
    const std::size_t whole = count - count % step;
    for (std::size_t index = 0; index < whole; index += step) {
        const std::byte* source = samples + index * sizeof(float);
        const __m256i packed =
            _mm256_packs_epi32(scaledToIntegersAvx2(source), scaledToIntegersAvx2(source + sizeof(__m256)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pcm16 + 2 * index),
                            _mm256_permute4x64_epi64(packed, quartersInOrder));
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
