#include "backend/BackendClientError.h"

using namespace Qt::StringLiterals;

namespace quorvel {

const char* errorCategoryName(BackendClientError)
{
    return "backend";
}

const char* errorName(BackendClientError error)
{
    switch (error) {
    case BackendClientError::server:
        return "server";
    case BackendClientError::invalidResponse:
        return "invalid response";
    }
    return "unknown";
}

Failure backendServerFailure(const QString& message)
{
    return {.code = errorCode(BackendClientError::server), .description = message};
}

Failure backendInvalidResponseFailure()
{
    return {.code = errorCode(BackendClientError::invalidResponse),
            .description = u"Backend returned an invalid response."_s};
}

} // namespace quorvel
