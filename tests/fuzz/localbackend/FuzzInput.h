#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

/// The fuzzer's bytes as text.
inline std::string fuzzText(const std::uint8_t* data, std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>(data[i]);
    return text;
}

/// A property that must hold whatever the input is.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Splits off the part before the first zero byte.
inline std::string_view takePart(std::string_view& rest)
{
    const auto end = rest.find('\0');
    const auto part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return part;
}
