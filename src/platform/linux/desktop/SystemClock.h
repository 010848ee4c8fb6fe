#pragma once

#include "platform/Clock.h"

namespace quorvel::platform {

/// The machine's clock. Setting it does not disturb a running sleep.
class SystemClock final : public Clock
{
public:
    [[nodiscard]] Timestamp now() const override;
    /// `stop` may be requested from any thread. A duration above 24 days is taken for 24 days.
    [[nodiscard]] Task<Result<>> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;
};

} // namespace quorvel::platform
