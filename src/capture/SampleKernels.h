#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvel {

/// The two inner loops of the audio path, for one instruction set. Neither pointer needs an alignment.
struct SampleKernels
{
    const char* name;

    /// Converts `count` floats of the machine's byte order to as many 16-bit samples, low byte first. A sample x
    /// becomes max(x, -1) * 32767 truncated toward zero when x < 1, else 32767: so does NaN.
    void (*floatToPcm16)(const std::byte* samples, std::size_t count, std::byte* pcm16);

    /// The sum of the squares of `count` 16-bit samples, low byte first. Exact: no count that fits in memory overflows
    /// it.
    std::uint64_t (*sumOfSquares)(const std::byte* pcm16, std::size_t count);
};

/// What this processor can run, the fastest first; the last one is plain C++.
[[nodiscard]] std::span<const SampleKernels> availableSampleKernels();

/// The fastest of them, chosen at the first call.
[[nodiscard]] const SampleKernels& sampleKernels();

} // namespace quorvel
