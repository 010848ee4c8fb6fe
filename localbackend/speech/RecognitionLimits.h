#pragma once

#include <chrono>
#include <cstddef>

namespace quorvel::localbackend {

/// How much recognition goes on at once.
struct RecognitionLimits
{
    std::size_t threads = 1;
    /// A decoder takes about a quarter of a core in real time: more of them on one thread would only fall behind
    /// together.
    std::size_t decodersPerThread = 4;
    /// A stream whose sound waits for longer loses the oldest of it,
    std::chrono::milliseconds mostWaiting{10'000};
    /// so that this much is left.
    std::chrono::milliseconds keptWaiting{2'000};
};

} // namespace quorvel::localbackend
