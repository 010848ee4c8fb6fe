#pragma once

#include <chrono>
#include <cstddef>

namespace quorvel::bench {

/// Plays silence with short impulses this far apart, the first of them at once, and prints the moment of each
/// (nanoseconds of the steady clock) on standard output when it hands it to the audio server. Ends after so many
/// impulses.
void playImpulses(std::size_t count, std::chrono::milliseconds interval);

} // namespace quorvel::bench
