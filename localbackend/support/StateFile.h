#pragma once

#include "support/Result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// Makes the directory and its parents where they are missing; the last one gets mode 700. Fails with Unavailable and
/// a sentence that names the path.
[[nodiscard]] Result<void> makePrivateDirectory(const std::filesystem::path& directory);

/// The content of a file of at most 16 MiB, none when it does not exist. Fails with Unavailable.
[[nodiscard]] Result<std::optional<std::string>> readStateFile(const std::filesystem::path& file);

/// Replaces the file as a whole (mode 600): readers see the old or the new content, also after a crash. Fails with
/// Unavailable.
[[nodiscard]] Result<void> writeStateFile(const std::filesystem::path& file, std::string_view content);

} // namespace quorvel::localbackend
