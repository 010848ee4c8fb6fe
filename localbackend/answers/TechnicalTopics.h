#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::localbackend {

/// General engineering knowledge on one topic: how to reason, and what is traded for what. It says nothing about the
/// user's own experience.
struct TechnicalTopic
{
    std::string_view reasoning;
    std::string_view tradeOff;
};

/// The topic that the most of the terms name, or null.
[[nodiscard]] const TechnicalTopic* topicFor(const std::vector<std::string>& terms);

} // namespace quorvel::localbackend
