#pragma once

#include "platform/UserDefaults.h"

#include <memory>

namespace quorvel {

/// The store of the application's settings: its own suite, or the standard one when that cannot be opened. Never null.
[[nodiscard]] std::shared_ptr<platform::UserDefaults> openSettingsStore(platform::UserDefaultsProvider& provider);

} // namespace quorvel
