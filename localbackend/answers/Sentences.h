#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::localbackend {

/// The words of a text in lower case: letters, digits, and the signs of names such as "c++", "c#" and "node.js". Other
/// signs and apostrophes separate or vanish ("don't" is "dont"), as recognisers differ in them.
[[nodiscard]] std::vector<std::string> wordsOf(std::string_view text);

/// The words that carry meaning, reduced to their stems so that "led" stays and "designing" meets "designed".
[[nodiscard]] std::vector<std::string> termsOf(std::string_view text);

/// The sentences and list lines of a text, without bullets and trailing full stops, at most 400 bytes each.
[[nodiscard]] std::vector<std::string> sentencesOf(std::string_view text);

} // namespace quorvel::localbackend
