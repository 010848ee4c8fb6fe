#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <cstddef>
#include <optional>

namespace quorvel {

/// One case of an enumeration and the text that stands for it on the wire, on disk and on the screen.
template <typename Enum>
struct RawValue
{
    constexpr RawValue(Enum rawCase, const char* rawText)
        : value(rawCase)
        , text(rawText)
    {
    }

    Enum value;
    const char* text; ///< ASCII
};

/// An enumeration with texts: a function rawValues(Enum) beside it returns the array of its cases in order.
template <typename Enum>
concept RawValued = requires(Enum value) { rawValues(value).front().text; };

template <RawValued Enum>
[[nodiscard]] QString rawValue(Enum value)
{
    for (const RawValue<Enum>& candidate : rawValues(value)) {
        if (candidate.value == value) {
            return QString::fromLatin1(candidate.text);
        }
    }
    return {};
}

/// The case with exactly this text, letter case included.
template <RawValued Enum>
[[nodiscard]] std::optional<Enum> fromRawValue(QStringView text)
{
    for (const RawValue<Enum>& candidate : rawValues(Enum{})) {
        if (text == QLatin1StringView(candidate.text)) {
            return candidate.value;
        }
    }
    return std::nullopt;
}

/// Every case, in order of declaration.
template <RawValued Enum>
[[nodiscard]] constexpr auto allCases()
{
    constexpr auto table = rawValues(Enum{});
    std::array<Enum, table.size()> cases{};
    for (std::size_t index = 0; index < table.size(); ++index) {
        cases[index] = table[index].value;
    }
    return cases;
}

} // namespace quorvel
