#pragma once

#include <QString>

#include <cstdint>
#include <expected>
#include <string>
#include <system_error>

namespace quorvel {

/// Why an operation failed: a code that programs compare and a sentence that people read.
struct Failure
{
    std::error_code code;
    /// A complete sentence for the user, shown as it is.
    QString description;
    /// What the user can do about it; empty where there is nothing to advise.
    QString recoverySuggestion = {};

    friend bool operator==(const Failure&, const Failure&) = default;
};

/// What every operation that can fail returns. Functions that return one are marked [[nodiscard]].
template <typename T = void>
using Result = std::expected<T, Failure>;

/// A component's error enumeration, found by argument-dependent lookup:
///   const char* errorCategoryName(Error)   the component, for example "capture"
///   const char* errorName(Error)           the case, for logs
/// Its values start at 1, because an error code of 0 means success.
template <typename Error>
class ErrorCategory final : public std::error_category
{
public:
    [[nodiscard]] const char* name() const noexcept override { return errorCategoryName(Error{}); }
    [[nodiscard]] std::string message(int value) const override { return errorName(static_cast<Error>(value)); }
};

template <typename Error>
[[nodiscard]] const std::error_category& errorCategory()
{
    static const ErrorCategory<Error> category;
    return category;
}

template <typename Error>
[[nodiscard]] std::error_code errorCode(Error error)
{
    return {static_cast<int>(error), errorCategory<Error>()};
}

namespace platform {

/// The failures that any platform service can report. Services with failures of their own have an enumeration of their
/// own.
enum class PlatformError : std::uint8_t {
    cancelled = 1, ///< The caller withdrew the operation, or the object that ran it is gone.
    unavailable,   ///< The service that would do it is missing on this desktop.
    failed,        ///< The service refused or broke; the description says how.
};

[[nodiscard]] const char* errorCategoryName(PlatformError);
[[nodiscard]] const char* errorName(PlatformError error);

[[nodiscard]] Failure cancelledFailure();

} // namespace platform
} // namespace quorvel
