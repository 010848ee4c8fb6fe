#pragma once

#include <cstddef>
#include <functional>
#include <span>

namespace quorvel::bench {

/// Captures the default sink's monitor as 16-bit mono at 24 kHz in buffers of 20 ms, with nothing around it, until
/// `take` returns false. `take` is called on the stream's real-time thread.
void captureMonitor(std::function<bool(std::span<const std::byte>)> take);

} // namespace quorvel::bench
