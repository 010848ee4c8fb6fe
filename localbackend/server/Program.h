#pragma once

#include "server/Options.h"

namespace quorvel::localbackend {

/// Serves until SIGTERM or SIGINT. Fails with one line for the user when it cannot begin: the address is taken, the
/// speech model is missing, the state directory cannot be written.
[[nodiscard]] Result<void> serve(const Options& options, const Environment& environment, const Log& log);

} // namespace quorvel::localbackend
