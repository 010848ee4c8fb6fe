#include "answers/Answerer.h"

#include <array>

namespace quorvel::localbackend {

std::string_view intentName(Intent intent)
{
    constexpr std::array<std::string_view, 5> names{"question", "objection", "clarification", "smalltalk", "unknown"};
    return names.at(static_cast<std::size_t>(intent));
}

} // namespace quorvel::localbackend
