#include "http/Form.h"

#include "support/Text.h"

#include <algorithm>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t mostFields = 32;

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::optional<std::string> decoded(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            result += ' ';
        } else if (text[i] == '%') {
            const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
            const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
            if (low < 0)
                return std::nullopt;
            result += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            result += text[i];
        }
    }
    return isUtf8(result) ? std::optional(result) : std::nullopt;
}

} // namespace

std::optional<FormFields> parseForm(std::string_view text)
{
    FormFields fields;
    while (!text.empty()) {
        const auto end = std::min(text.find('&'), text.size());
        const auto field = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (field.empty())
            continue;
        const auto equals = std::min(field.find('='), field.size());
        auto name = decoded(field.substr(0, equals));
        auto value = decoded(field.substr(std::min(equals + 1, field.size())));
        if (!name || !value || fields.size() == mostFields)
            return std::nullopt;
        fields.emplace_back(std::move(*name), std::move(*value));
    }
    return fields;
}

std::optional<std::string> formValue(const FormFields& fields, std::string_view name)
{
    const auto found =
        std::ranges::find(fields, name, [](const auto& field) -> std::string_view { return field.first; });
    return found == fields.end() ? std::nullopt : std::optional(found->second);
}

std::string percentEncoded(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string result;
    for (const char c : text) {
        if (unreserved.contains(c)) {
            result += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        result += '%';
        result += digits[byte >> 4];
        result += digits[byte & 15U];
    }
    return result;
}

std::string htmlEscaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

} // namespace quorvel::localbackend
