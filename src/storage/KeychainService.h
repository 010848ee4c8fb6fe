#pragma once

#include "platform/Keychain.h"
#include "platform/Result.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace quorvel {

enum class KeychainError : std::uint8_t {
    unhandledStatus = 1, ///< the keychain refused; the description holds its status code
    invalidData,         ///< the item is not text
};

[[nodiscard]] const char* errorCategoryName(KeychainError);
[[nodiscard]] const char* errorName(KeychainError error);

/// Keeps secret texts as generic-password items of one service. Every load reads the keychain. Main thread; the
/// synchronous calls never prompt.
class KeychainService
{
public:
    explicit KeychainService(std::shared_ptr<platform::Keychain> keychain);

    /// Asks the user to unlock a locked keychain, without blocking.
    [[nodiscard]] Task<> unlock();

    /// Replaces the account's item. When adding fails the old item is already gone.
    [[nodiscard]] Result<> save(const QString& value, const QString& account);
    /// Nothing when there is no such item.
    [[nodiscard]] Result<std::optional<QString>> load(const QString& account);
    /// Removes the account's items; never reports.
    void remove(const QString& account);

private:
    [[nodiscard]] platform::KeychainQuery baseQuery(const QString& account) const;

    std::shared_ptr<platform::Keychain> m_keychain;
    QString m_service;
};

} // namespace quorvel
