#pragma once

#include "platform/Keychain.h"
#include "platform/linux/desktop/GLib.h"

#include <chrono>
#include <functional>
#include <memory>

namespace quorvel::platform {

/// The desktop's Secret Service. Each call finds the service anew, so that one that was restarted is as good as before.
/// The service is spoken to on threads of their own: whatever it does, it cannot hold up the main thread for longer.
class SecretServiceKeychain final : public Keychain
{
public:
    /// `patience` is how long a call waits for the service before this keychain gives up on it for good.
    explicit SecretServiceKeychain(std::chrono::milliseconds patience = std::chrono::seconds(2));
    /// Withdraws a prompt that is still open.
    ~SecretServiceKeychain() override;
    SecretServiceKeychain(const SecretServiceKeychain&) = delete;
    SecretServiceKeychain(SecretServiceKeychain&&) = delete;
    SecretServiceKeychain& operator=(const SecretServiceKeychain&) = delete;
    SecretServiceKeychain& operator=(SecretServiceKeychain&&) = delete;

    [[nodiscard]] Task<> unlock() override;
    [[nodiscard]] KeychainStatus add(const KeychainQuery& item, const QByteArray& data) override;
    [[nodiscard]] KeychainLookup copyMatching(const KeychainQuery& query) override;
    KeychainStatus deleteItems(const KeychainQuery& query) override;

private:
    struct Unlocking;

    /// What one call tells the later ones.
    struct State
    {
        bool isGivenUp = false;
        bool wasUnlockRefused = false;
    };

    [[nodiscard]] KeychainLookup run(std::function<KeychainLookup(GCancellable*)> call);
    static Task<> runUnlocking(std::shared_ptr<Unlocking> unlocking, std::shared_ptr<State> state,
                               std::chrono::milliseconds patience);

    std::chrono::milliseconds m_patience;
    std::shared_ptr<State> m_state = std::make_shared<State>();
    std::shared_ptr<Unlocking> m_unlocking;
};

} // namespace quorvel::platform
