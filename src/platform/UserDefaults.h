#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

namespace quorvel::platform {

/// A small persistent key-value store. Main thread. Nothing is reported: an unreadable store reads as empty, and a
/// write that fails keeps what was stored before.
class UserDefaults
{
public:
    virtual ~UserDefaults() = default;

    /// Nothing when the key is absent or holds something else than bytes.
    [[nodiscard]] virtual std::optional<QByteArray> dataForKey(const QString& key) const = 0;
    virtual void setData(const QByteArray& data, const QString& key) = 0;

    /// False when the key is absent.
    [[nodiscard]] virtual bool boolForKey(const QString& key) const = 0;
    virtual void setBool(bool value, const QString& key) = 0;
};

class UserDefaultsProvider
{
public:
    virtual ~UserDefaultsProvider() = default;

    /// The store of that name, made when it does not exist; null when it cannot be opened.
    [[nodiscard]] virtual std::shared_ptr<UserDefaults> suite(const QString& name) = 0;

    /// The store that every process has. Never null; at worst it forgets at the end of the process.
    [[nodiscard]] virtual std::shared_ptr<UserDefaults> standard() = 0;
};

} // namespace quorvel::platform
