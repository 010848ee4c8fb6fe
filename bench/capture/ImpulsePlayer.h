#pragma once

#include <cstddef>

namespace quorvel::bench {

/// Plays silence with a short impulse every quarter of a second, and prints the moment of each (nanoseconds of the
/// steady clock) on standard output when it hands it to the audio server. Ends after so many impulses.
void playImpulses(std::size_t count);

} // namespace quorvel::bench
