#pragma once

#include "platform/Result.h"

#include <QString>

#include <cstdint>

namespace quorvel {

/// Failures of the clients that talk to the transcription service directly.
enum class OpenAIClientError : std::uint8_t {
    server = 1,      ///< the service refused or closed; the description says how
    invalidAPIKey,   ///< the key is missing or wrong
    invalidResponse, ///< what came back makes no sense
};

[[nodiscard]] const char* errorCategoryName(OpenAIClientError);
[[nodiscard]] const char* errorName(OpenAIClientError error);

/// OpenAIClientError::server with this text as its description, unchanged.
[[nodiscard]] Failure openAIServerFailure(const QString& message);
[[nodiscard]] Failure openAIInvalidAPIKeyFailure();
[[nodiscard]] Failure openAIInvalidResponseFailure();

} // namespace quorvel
