#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QThread>

#include <atomic>
#include <memory>

namespace quorvel::test {

/// A Secret Service with one locked collection, which asks the user wherever the protocol lets it. It lives on a thread
/// and a bus connection of its own, as the calls that it answers block. It needs the name to itself.
class FakeSecretService final
{
public:
    FakeSecretService();
    ~FakeSecretService();
    FakeSecretService(const FakeSecretService&) = delete;
    FakeSecretService(FakeSecretService&&) = delete;
    FakeSecretService& operator=(const FakeSecretService&) = delete;
    FakeSecretService& operator=(FakeSecretService&&) = delete;

    /// Any thread.
    void setLocked(bool locked) { m_isLocked = locked; }
    void setDefaultCollection(bool exists) { m_hasDefault = exists; }
    [[nodiscard]] int openPrompts() const { return m_openPrompts; }
    [[nodiscard]] int promptsShown() const { return m_promptsShown; }
    /// What the user does with the prompt that is open.
    void answerPrompt(bool dismissed);

private:
    class Objects;

    std::atomic<bool> m_isLocked = true;
    std::atomic<bool> m_hasDefault = true;
    std::atomic<int> m_openPrompts = 0;
    std::atomic<int> m_promptsShown = 0;
    QThread m_thread;
    QDBusConnection m_bus;
    Objects* m_objects = nullptr;
};

} // namespace quorvel::test
