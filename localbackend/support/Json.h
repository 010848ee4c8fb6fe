#pragma once

#include "support/Result.h"

#include <boost/json.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// Parses one JSON object of at most 16 levels. Fails with Invalid and a sentence for the sender.
[[nodiscard]] Result<boost::json::object> parseJsonObject(std::string_view text);

/// The member of that name and type, or none: a missing member and one of another type are not told apart.
[[nodiscard]] std::optional<std::string> stringAt(const boost::json::object& object, std::string_view key);
[[nodiscard]] std::optional<std::int64_t> integerAt(const boost::json::object& object, std::string_view key);
[[nodiscard]] const boost::json::array* arrayAt(const boost::json::object& object, std::string_view key);
[[nodiscard]] const boost::json::object* objectAt(const boost::json::object& object, std::string_view key);

} // namespace quorvel::localbackend
