#include "accounts/AccountsFile.h"

#include "support/Json.h"

namespace quorvel::localbackend {

std::string serializeAccounts(const StoredAccounts& accounts)
{
    boost::json::array users;
    for (const User& user : accounts.users) {
        boost::json::object object{{"id", user.id}, {"email", user.email}, {"role", user.role}};
        if (user.name)
            object["name"] = *user.name;
        users.push_back(std::move(object));
    }
    boost::json::array sessions;
    for (const StoredSession& session : accounts.sessions) {
        sessions.push_back(boost::json::object{{"accessHash", session.accessHash},
                                               {"refreshHash", session.refreshHash},
                                               {"userId", session.userId},
                                               {"accessExpiry", session.accessExpiry},
                                               {"refreshExpiry", session.refreshExpiry}});
    }
    return boost::json::serialize(boost::json::object{{"users", std::move(users)}, {"sessions", std::move(sessions)}}) +
           "\n";
}

Result<StoredAccounts> parseAccounts(std::string_view text)
{
    const auto root = parseJsonObject(text);
    if (!root)
        return std::unexpected(root.error());
    const auto* users = arrayAt(*root, "users");
    const auto* sessions = arrayAt(*root, "sessions");
    if (users == nullptr || sessions == nullptr)
        return failed(Fault::Invalid, "it lacks its users or sessions.");
    StoredAccounts accounts;
    for (const auto& value : *users) {
        const auto* object = value.if_object();
        const auto id = object ? stringAt(*object, "id") : std::nullopt;
        const auto email = object ? stringAt(*object, "email") : std::nullopt;
        const auto role = object ? stringAt(*object, "role") : std::nullopt;
        if (!id || !email || !role)
            return failed(Fault::Invalid, "a user is incomplete.");
        accounts.users.push_back({.id = *id, .email = *email, .name = stringAt(*object, "name"), .role = *role});
    }
    for (const auto& value : *sessions) {
        const auto* object = value.if_object();
        const auto accessHash = object ? stringAt(*object, "accessHash") : std::nullopt;
        const auto refreshHash = object ? stringAt(*object, "refreshHash") : std::nullopt;
        const auto userId = object ? stringAt(*object, "userId") : std::nullopt;
        const auto accessExpiry = object ? integerAt(*object, "accessExpiry") : std::nullopt;
        const auto refreshExpiry = object ? integerAt(*object, "refreshExpiry") : std::nullopt;
        if (!accessHash || !refreshHash || !userId || !accessExpiry || !refreshExpiry)
            return failed(Fault::Invalid, "a session is incomplete.");
        accounts.sessions.push_back({.accessHash = *accessHash,
                                     .refreshHash = *refreshHash,
                                     .userId = *userId,
                                     .accessExpiry = *accessExpiry,
                                     .refreshExpiry = *refreshExpiry});
    }
    return accounts;
}

} // namespace quorvel::localbackend
