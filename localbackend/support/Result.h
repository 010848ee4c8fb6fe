#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <utility>

namespace quorvel::localbackend {

/// What went wrong, as far as a caller can act on it. The HTTP layer maps each kind to one status code.
enum class Fault : std::uint8_t {
    Invalid,       ///< the request cannot be understood
    Unauthorized,  ///< no valid sign-in
    Forbidden,     ///< understood and refused
    NotFound,      ///< no such thing
    TooLarge,      ///< a size limit was passed
    Unsupported,   ///< a kind of content that is not taken
    Unprocessable, ///< well-formed, but the content cannot be used
    TooMany,       ///< a rate or count limit was passed
    Unavailable,   ///< a resource of this machine is missing or refuses
};

/// A failed operation: its kind and one sentence that may be shown to the user. Never holds a token or a code.
struct Failure
{
    Fault fault = Fault::Unavailable;
    std::string sentence;
};

template <typename T>
using Result = std::expected<T, Failure>;

/// The failed outcome of an operation that returns a Result.
[[nodiscard]] inline std::unexpected<Failure> failed(Fault fault, std::string sentence)
{
    return std::unexpected(Failure{.fault = fault, .sentence = std::move(sentence)});
}

} // namespace quorvel::localbackend
