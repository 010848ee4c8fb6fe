#include "platform/Result.h"

using namespace Qt::StringLiterals;

namespace quorvel::platform {

const char* errorCategoryName(PlatformError)
{
    return "platform";
}

const char* errorName(PlatformError error)
{
    switch (error) {
    case PlatformError::cancelled:
        return "cancelled";
    case PlatformError::unavailable:
        return "unavailable";
    case PlatformError::failed:
        return "failed";
    }
    return "unknown";
}

Failure cancelledFailure()
{
    return {.code = errorCode(PlatformError::cancelled), .description = u"The operation was cancelled."_s};
}

} // namespace quorvel::platform
