#pragma once

#include "platform/CaptureStream.h"
#include "platform/MainThread.h"

#include <memory>

namespace quorvel::platform {

/// Captures sound from the PipeWire server of the user's session: that of the processes that own a window, or that of
/// everything but ourselves.
[[nodiscard]] std::shared_ptr<CaptureProvider> makePipeWireCaptureProvider(std::shared_ptr<MainThread> mainThread);

} // namespace quorvel::platform
