#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::localbackend {

/// The lines of a resume's text that say what somebody is, did and can, in their order, one to a line: contact data,
/// references and page furniture are left out, broken lines are joined. At most 6,000 bytes.
[[nodiscard]] std::string summaryOf(std::string_view text);

/// The names of skills, tools and organisations in a resume's text, the most telling first, at most 40.
[[nodiscard]] std::vector<std::string> keytermsOf(std::string_view text);

} // namespace quorvel::localbackend
