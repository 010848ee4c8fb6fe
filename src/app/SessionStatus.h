#pragma once

#include "platform/RawValue.h"

#include <array>
#include <cstdint>

namespace quorvel {

/// State of the listening session.
enum class SessionStatus : std::uint8_t { idle, starting, running, stopping, failed };

[[nodiscard]] constexpr auto rawValues(SessionStatus)
{
    return std::array{
        RawValue{SessionStatus::idle, "Idle"},       RawValue{SessionStatus::starting, "Starting"},
        RawValue{SessionStatus::running, "Running"}, RawValue{SessionStatus::stopping, "Stopping"},
        RawValue{SessionStatus::failed, "Failed"},
    };
}

/// Outcome of the backend's health check.
enum class BackendAvailability : std::uint8_t { checking, available, unavailable };

[[nodiscard]] constexpr auto rawValues(BackendAvailability)
{
    return std::array{
        RawValue{BackendAvailability::checking, "Checking"},
        RawValue{BackendAvailability::available, "Available"},
        RawValue{BackendAvailability::unavailable, "Unavailable"},
    };
}

/// Whether start-up has reached the account.
enum class APIKeyStatus : std::uint8_t { missing, validating, connected, invalid };

[[nodiscard]] constexpr auto rawValues(APIKeyStatus)
{
    return std::array{
        RawValue{APIKeyStatus::missing, "Missing"},
        RawValue{APIKeyStatus::validating, "Checking"},
        RawValue{APIKeyStatus::connected, "Connected"},
        RawValue{APIKeyStatus::invalid, "Invalid"},
    };
}

} // namespace quorvel
