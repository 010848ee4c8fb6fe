#pragma once

#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// A sentence of a resume, split where its outcome begins.
struct Achievement
{
    std::string action;
    std::string result; ///< empty when the sentence tells none
};

/// Splits "Led the migration, cutting latency by 40 %" before the outcome. Every word stays.
[[nodiscard]] Achievement splitAchievement(std::string_view sentence);

/// The sentence as its owner would say it: "Led a team" becomes "I led a team"; one without a leading verb is quoted as
/// what the resume says. Adds nothing that the sentence does not hold.
[[nodiscard]] std::string spoken(std::string_view sentence);

/// Whether the sentence starts with what somebody did.
[[nodiscard]] bool tellsAnAction(std::string_view sentence);

/// Whether the line names a position or an employer rather than an action, such as "Engineer at Acme, 2019 to 2023".
[[nodiscard]] bool namesAPosition(std::string_view sentence);

/// Whether the line is nothing but a name: two to four words with a capital each, none of them a position.
[[nodiscard]] bool looksLikeAName(std::string_view sentence);

/// The text with its first letter in lower case, unless the first word is a name or an abbreviation.
[[nodiscard]] std::string lowerStart(std::string_view text);

/// The text with its first letter in upper case.
[[nodiscard]] std::string upperStart(std::string_view text);

} // namespace quorvel::localbackend
