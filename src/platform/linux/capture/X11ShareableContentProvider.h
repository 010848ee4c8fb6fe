#pragma once

#include "platform/ShareableContent.h"

#include <memory>

namespace quorvel::platform {

/// Lists the windows and monitors of the X server that DISPLAY names. It has a connection of its own and reads on a
/// thread of its own: an X server that hangs keeps nobody else waiting.
[[nodiscard]] std::shared_ptr<ShareableContentProvider> makeX11ShareableContentProvider();

} // namespace quorvel::platform
