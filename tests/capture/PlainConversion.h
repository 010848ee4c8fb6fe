#pragma once

#include <algorithm>
#include <cstdint>

namespace quorvel::test {

/// The rule that every conversion must equal, written as plainly as it can be said.
inline std::int16_t plainlyConverted(float sample)
{
    const float scaled = sample < 1.0F ? std::max(sample, -1.0F) * 32767.0F : 32767.0F;
    return static_cast<std::int16_t>(scaled);
}

} // namespace quorvel::test
