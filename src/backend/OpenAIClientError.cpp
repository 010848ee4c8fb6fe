#include "backend/OpenAIClientError.h"

using namespace Qt::StringLiterals;

namespace quorvel {

const char* errorCategoryName(OpenAIClientError)
{
    return "direct transcription";
}

const char* errorName(OpenAIClientError error)
{
    switch (error) {
    case OpenAIClientError::server:
        return "server";
    case OpenAIClientError::invalidAPIKey:
        return "invalid API key";
    case OpenAIClientError::invalidResponse:
        return "invalid response";
    }
    return "unknown";
}

Failure openAIServerFailure(const QString& message)
{
    return {.code = errorCode(OpenAIClientError::server), .description = message};
}

Failure openAIInvalidAPIKeyFailure()
{
    return {.code = errorCode(OpenAIClientError::invalidAPIKey),
            .description = u"The OpenAI API key is missing or invalid."_s};
}

Failure openAIInvalidResponseFailure()
{
    return {.code = errorCode(OpenAIClientError::invalidResponse),
            .description = u"OpenAI returned an unexpected response."_s};
}

} // namespace quorvel
