#pragma once

#include "accounts/AccountStore.h"

#include <cstdint>
#include <string_view>

namespace quorvel::localbackend {

struct StoredSession
{
    std::string accessHash;
    std::string refreshHash;
    std::string userId;
    std::int64_t accessExpiry = 0;  ///< seconds since the epoch
    std::int64_t refreshExpiry = 0; ///< seconds since the epoch
};

/// What the accounts file holds.
struct StoredAccounts
{
    std::vector<User> users;
    std::vector<StoredSession> sessions;
};

[[nodiscard]] std::string serializeAccounts(const StoredAccounts& accounts);

/// Fails with Invalid and a sentence that names the first fault.
[[nodiscard]] Result<StoredAccounts> parseAccounts(std::string_view text);

} // namespace quorvel::localbackend
