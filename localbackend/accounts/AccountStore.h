#pragma once

#include "support/Clock.h"
#include "support/Result.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::localbackend {

struct User
{
    std::string id;
    std::string email;
    std::optional<std::string> name;
    std::string role;
};

/// A completed sign-in. The tokens exist here only: the store keeps their hashes.
struct SignIn
{
    User user;
    std::string accessToken;
    std::string refreshToken;
    std::chrono::seconds expiresIn{};
};

/// The accounts and their sign-ins, kept in "accounts.json" (mode 600) of the state directory. Used on one thread.
class AccountStore
{
public:
    /// The application keeps its access token and never refreshes it, so the token has to outlast weeks of use.
    static constexpr std::chrono::days accessLifetime{30};
    static constexpr std::chrono::days refreshLifetime{90};
    static constexpr std::size_t mostUsers = 1000;
    static constexpr std::size_t mostSignInsPerUser = 20;

    /// Opens the store, making the directory (mode 700) where it is missing. Fails with Unavailable and a sentence that
    /// names the path when the directory cannot be written or the file is damaged.
    [[nodiscard]] static Result<AccountStore> open(const std::filesystem::path& directory, Clock clock);

    /// Signs the owner of the address in, making an account at the first time. The oldest sign-ins past the limit end.
    [[nodiscard]] Result<SignIn> signIn(const std::string& email);

    /// Exchanges a refresh token for a new sign-in and ends the old one. Fails with Unauthorized.
    [[nodiscard]] Result<SignIn> refresh(const std::string& refreshToken);

    /// The user whose valid access token this is.
    [[nodiscard]] std::optional<User> userOf(const std::string& accessToken) const;

private:
    struct Session
    {
        std::string userId;
        std::string refreshHash;
        WallTime accessExpiry;
        WallTime refreshExpiry;
    };

    AccountStore(std::filesystem::path file, Clock clock);
    [[nodiscard]] Result<void> load();
    [[nodiscard]] Result<void> save() const;
    [[nodiscard]] Result<SignIn> newSignIn(const User& user);
    void endOldest(const std::string& userId);

    std::filesystem::path m_file;
    Clock m_clock;
    std::vector<User> m_users;
    std::map<std::string, Session> m_sessions; ///< by the access token's hash
};

} // namespace quorvel::localbackend
