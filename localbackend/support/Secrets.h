#pragma once

#include "support/Result.h"

#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// 256 random bits of the cryptographic generator as 43 characters of URL-safe base64.
[[nodiscard]] Result<std::string> randomToken();

/// A uniformly distributed code of six decimal digits of the cryptographic generator.
[[nodiscard]] Result<std::string> randomSixDigits();

/// SHA-256 of the text as 64 lower-case hexadecimal digits.
[[nodiscard]] std::string sha256Hex(std::string_view text);

/// Whether two texts are equal, in a time that does not depend on where they differ.
[[nodiscard]] bool equalInConstantTime(std::string_view a, std::string_view b);

} // namespace quorvel::localbackend
