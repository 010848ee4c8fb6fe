#include "support/Text.h"

#include <algorithm>

namespace quorvel::localbackend {

namespace {

constexpr std::string_view whiteSpace = " \t\r\n\f\v";

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The length of the sequence that starts with these bytes, or 0 where it is not well-formed.
std::size_t sequenceLength(std::string_view bytes)
{
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned first = at(0);
    if (first < 0x80)
        return first == 0 ? 0 : 1;
    std::size_t length = 0;
    if (first >= 0xC2 && first <= 0xDF)
        length = 2;
    else if (first >= 0xE0 && first <= 0xEF)
        length = 3;
    else if (first >= 0xF0 && first <= 0xF4)
        length = 4;
    if (length == 0 || bytes.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(bytes[i]))
            return 0;
    }
    const unsigned second = at(1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second > 0x9F;
    const bool beyond = first == 0xF4 && second > 0x8F;
    return overlong || surrogate || beyond ? 0 : length;
}

} // namespace

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(whiteSpace);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(whiteSpace) - first + 1);
}

std::string lowerCased(std::string_view text)
{
    std::string lower{text};
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

bool isUtf8(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        if (length == 0)
            return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::size_t codePointCount(std::string_view utf8)
{
    return static_cast<std::size_t>(std::ranges::count_if(utf8, [](char c) { return !isContinuation(c); }));
}

std::string_view cutToBytes(std::string_view utf8, std::size_t most)
{
    if (utf8.size() <= most)
        return utf8;
    while (most > 0 && isContinuation(utf8[most]))
        --most;
    return utf8.substr(0, most);
}

std::vector<std::string_view> splitTrimmed(std::string_view text, std::string_view separators)
{
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(separators), text.size());
        if (const auto piece = trimmed(text.substr(0, end)); !piece.empty())
            pieces.push_back(piece);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

} // namespace quorvel::localbackend
