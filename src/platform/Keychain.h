#pragma once

#include "platform/Task.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

namespace quorvel::platform {

/// Status of a keychain call: 0 is success, everything else a failure. The values are those that users can look up.
using KeychainStatus = std::int32_t;
inline constexpr KeychainStatus keychainSuccess = 0;
inline constexpr KeychainStatus keychainItemNotFound = -25300;
inline constexpr KeychainStatus keychainNotAvailable = -25291;
inline constexpr KeychainStatus keychainUserCanceled = -128;
inline constexpr KeychainStatus keychainNoDefault = -25307; ///< there is no collection for new items
inline constexpr KeychainStatus keychainInteractionNotAllowed = -25308;
inline constexpr KeychainStatus keychainInternalError = -2070;

/// Which generic-password items a call means.
struct KeychainQuery
{
    QString service;
    QString account;

    friend bool operator==(const KeychainQuery&, const KeychainQuery&) = default;
};

struct KeychainLookup
{
    KeychainStatus status = keychainItemNotFound;
    /// The item's bytes; present only with success, and absent even then if the item holds no byte string.
    std::optional<QByteArray> data;
};

/// The desktop's store of secrets. Main thread. The synchronous calls never prompt, and give up within 2 s on a service
/// that does not answer, which is then left alone for the rest of the run.
class Keychain
{
public:
    virtual ~Keychain() = default;

    /// Asks the user to unlock a locked store, without blocking; ends at once when it is open, missing or refused.
    [[nodiscard]] virtual Task<> unlock() = 0;

    [[nodiscard]] virtual KeychainStatus add(const KeychainQuery& item, const QByteArray& data) = 0;
    [[nodiscard]] virtual KeychainLookup copyMatching(const KeychainQuery& query) = 0;
    /// Removes every matching item.
    virtual KeychainStatus deleteItems(const KeychainQuery& query) = 0;
};

} // namespace quorvel::platform
