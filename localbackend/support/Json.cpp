#include "support/Json.h"

namespace quorvel::localbackend {

Result<boost::json::object> parseJsonObject(std::string_view text)
{
    boost::json::parse_options options;
    options.max_depth = 16;
    boost::json::error_code error;
    auto value = boost::json::parse(text, error, {}, options);
    if (error)
        return failed(Fault::Invalid, "The text is not valid JSON.");
    auto* object = value.if_object();
    if (object == nullptr)
        return failed(Fault::Invalid, "The JSON text is not an object.");
    return std::move(*object);
}

std::optional<std::string> stringAt(const boost::json::object& object, std::string_view key)
{
    const auto* value = object.if_contains(key);
    const auto* text = value ? value->if_string() : nullptr;
    return text ? std::optional(std::string(*text)) : std::nullopt;
}

std::optional<std::int64_t> integerAt(const boost::json::object& object, std::string_view key)
{
    const auto* value = object.if_contains(key);
    const auto* number = value ? value->if_int64() : nullptr;
    return number ? std::optional(*number) : std::nullopt;
}

const boost::json::array* arrayAt(const boost::json::object& object, std::string_view key)
{
    const auto* value = object.if_contains(key);
    return value ? value->if_array() : nullptr;
}

const boost::json::object* objectAt(const boost::json::object& object, std::string_view key)
{
    const auto* value = object.if_contains(key);
    return value ? value->if_object() : nullptr;
}

} // namespace quorvel::localbackend
