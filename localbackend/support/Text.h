#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::localbackend {

/// The text without leading and trailing white space (ASCII).
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// ASCII letters in lower case, all other bytes unchanged.
[[nodiscard]] std::string lowerCased(std::string_view text);

/// Whether the bytes are well-formed UTF-8 without embedded NUL.
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// The number of code points of well-formed UTF-8.
[[nodiscard]] std::size_t codePointCount(std::string_view utf8);

/// At most that many bytes of well-formed UTF-8, cut between code points.
[[nodiscard]] std::string_view cutToBytes(std::string_view utf8, std::size_t most);

/// The pieces between the separators, trimmed, without the empty ones. The views refer to the given text.
[[nodiscard]] std::vector<std::string_view> splitTrimmed(std::string_view text, std::string_view separators);

} // namespace quorvel::localbackend
