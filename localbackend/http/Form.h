#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvel::localbackend {

/// Name and value pairs of a query or of a URL-encoded form, decoded, in order.
using FormFields = std::vector<std::pair<std::string, std::string>>;

/// Decodes "a=b&c=d". None when an escape is broken, a decoded byte sequence is not UTF-8, or there are more than 32
/// fields.
[[nodiscard]] std::optional<FormFields> parseForm(std::string_view text);

/// The value of the first field of that name.
[[nodiscard]] std::optional<std::string> formValue(const FormFields& fields, std::string_view name);

/// The text as a query value: everything but unreserved characters is escaped.
[[nodiscard]] std::string percentEncoded(std::string_view text);

/// The text for element content and quoted attributes of HTML.
[[nodiscard]] std::string htmlEscaped(std::string_view text);

} // namespace quorvel::localbackend
