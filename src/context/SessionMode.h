#pragma once

#include "platform/RawValue.h"

#include <QString>

#include <array>
#include <cstdint>

namespace quorvel {

enum class SessionMode : std::uint8_t { hr, technical };

/// The texts on the wire, which are also the titles.
[[nodiscard]] constexpr auto rawValues(SessionMode)
{
    return std::array{
        RawValue{SessionMode::hr, "HR"},
        RawValue{SessionMode::technical, "Technical"},
    };
}

/// One sentence on how answers are framed in this mode.
[[nodiscard]] QString modeDescription(SessionMode mode);

} // namespace quorvel
