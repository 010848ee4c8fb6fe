#include "accounts/AccountStore.h"

#include "accounts/AccountsFile.h"
#include "support/Secrets.h"
#include "support/StateFile.h"

#include <algorithm>
#include <utility>

namespace quorvel::localbackend {

AccountStore::AccountStore(std::filesystem::path file, Clock clock)
    : m_file(std::move(file))
    , m_clock(std::move(clock))
{
}

Result<AccountStore> AccountStore::open(const std::filesystem::path& directory, Clock clock)
{
    if (const auto usable = makePrivateDirectory(directory); !usable)
        return std::unexpected(usable.error());
    AccountStore store(directory / "accounts.json", std::move(clock));
    if (const auto loaded = store.load(); !loaded)
        return std::unexpected(loaded.error());
    // Writing now tells an unwritable directory at the start instead of at the first sign-in.
    if (const auto saved = store.save(); !saved)
        return std::unexpected(saved.error());
    return store;
}

Result<void> AccountStore::load()
{
    const auto read = readStateFile(m_file);
    if (!read)
        return std::unexpected(read.error());
    const auto& text = *read;
    if (!text)
        return {};
    auto accounts = parseAccounts(*text);
    if (!accounts)
        return failed(Fault::Unavailable,
                      "The accounts file " + m_file.string() + " is damaged: " + accounts.error().sentence);
    m_users = std::move(accounts->users);
    for (auto& stored : accounts->sessions) {
        m_sessions[std::move(stored.accessHash)] = Session{
            .userId = std::move(stored.userId),
            .refreshHash = std::move(stored.refreshHash),
            .accessExpiry = WallTime{std::chrono::seconds{stored.accessExpiry}},
            .refreshExpiry = WallTime{std::chrono::seconds{stored.refreshExpiry}},
        };
    }
    const WallTime now = m_clock.wall();
    std::erase_if(m_sessions, [now](const auto& item) { return item.second.refreshExpiry <= now; });
    return {};
}

Result<void> AccountStore::save() const
{
    StoredAccounts accounts{.users = m_users, .sessions = {}};
    for (const auto& [accessHash, session] : m_sessions) {
        accounts.sessions.push_back({.accessHash = accessHash,
                                     .refreshHash = session.refreshHash,
                                     .userId = session.userId,
                                     .accessExpiry = session.accessExpiry.time_since_epoch().count(),
                                     .refreshExpiry = session.refreshExpiry.time_since_epoch().count()});
    }
    return writeStateFile(m_file, serializeAccounts(accounts));
}

Result<SignIn> AccountStore::signIn(const std::string& email)
{
    const auto known = std::ranges::find(m_users, email, &User::email);
    if (known != m_users.end())
        return newSignIn(*known);
    if (m_users.size() >= mostUsers)
        return failed(Fault::TooMany, "This server has no room for another account.");
    const auto id = randomToken();
    if (!id)
        return std::unexpected(id.error());
    const User user{.id = "user-" + id->substr(0, 16), .email = email, .name = std::nullopt, .role = "USER"};
    m_users.push_back(user);
    auto signedIn = newSignIn(user);
    if (!signedIn)
        m_users.pop_back();
    return signedIn;
}

Result<SignIn> AccountStore::refresh(const std::string& refreshToken)
{
    const std::string hash = sha256Hex(refreshToken);
    const WallTime now = m_clock.wall();
    const auto found = std::ranges::find_if(m_sessions, [&](const auto& item) {
        return item.second.refreshExpiry > now && equalInConstantTime(item.second.refreshHash, hash);
    });
    if (found == m_sessions.end())
        return failed(Fault::Unauthorized, "The refresh token is not valid. Sign in again.");
    const auto user = std::ranges::find(m_users, found->second.userId, &User::id);
    if (user == m_users.end())
        return failed(Fault::Unauthorized, "The account no longer exists.");
    auto old = m_sessions.extract(found);
    auto signedIn = newSignIn(*user);
    if (!signedIn)
        m_sessions.insert(std::move(old));
    return signedIn;
}

Result<SignIn> AccountStore::newSignIn(const User& user)
{
    auto access = randomToken();
    auto refresh = randomToken();
    if (!access || !refresh)
        return std::unexpected(!access ? access.error() : refresh.error());
    const WallTime now = m_clock.wall();
    const auto before = m_sessions;
    endOldest(user.id);
    m_sessions[sha256Hex(*access)] = Session{.userId = user.id,
                                             .refreshHash = sha256Hex(*refresh),
                                             .accessExpiry = now + accessLifetime,
                                             .refreshExpiry = now + refreshLifetime};
    if (const auto saved = save(); !saved) {
        m_sessions = before;
        return std::unexpected(saved.error());
    }
    return SignIn{.user = user,
                  .accessToken = std::move(*access),
                  .refreshToken = std::move(*refresh),
                  .expiresIn = accessLifetime};
}

void AccountStore::endOldest(const std::string& userId)
{
    for (;;) {
        auto oldest = m_sessions.end();
        std::size_t count = 0;
        for (auto it = m_sessions.begin(); it != m_sessions.end(); ++it) {
            if (it->second.userId != userId)
                continue;
            ++count;
            if (oldest == m_sessions.end() || it->second.accessExpiry < oldest->second.accessExpiry)
                oldest = it;
        }
        if (count < mostSignInsPerUser)
            return;
        m_sessions.erase(oldest);
    }
}

std::optional<User> AccountStore::userOf(const std::string& accessToken) const
{
    const auto session = m_sessions.find(sha256Hex(accessToken));
    if (session == m_sessions.end() || session->second.accessExpiry <= m_clock.wall())
        return std::nullopt;
    const auto user = std::ranges::find(m_users, session->second.userId, &User::id);
    return user == m_users.end() ? std::nullopt : std::optional(*user);
}

} // namespace quorvel::localbackend
