#pragma once

#include "platform/Result.h"

#include <QString>

#include <cstdint>

namespace quorvel {

enum class BackendClientError : std::uint8_t {
    server = 1,      ///< the backend refused; the description is its own text
    invalidResponse, ///< what came back makes no sense
};

[[nodiscard]] const char* errorCategoryName(BackendClientError);
[[nodiscard]] const char* errorName(BackendClientError error);

/// BackendClientError::server with this text as its description, unchanged.
[[nodiscard]] Failure backendServerFailure(const QString& message);
[[nodiscard]] Failure backendInvalidResponseFailure();

} // namespace quorvel
