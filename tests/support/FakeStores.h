#pragma once

#include "platform/Keychain.h"
#include "platform/UserDefaults.h"
#include "support/Step.h"

#include <QHash>
#include <QVariant>

#include <map>
#include <memory>
#include <vector>

namespace quorvel::test {

class FakeUserDefaults final : public platform::UserDefaults
{
public:
    [[nodiscard]] std::optional<QByteArray> dataForKey(const QString& key) const override
    {
        const QVariant value = values.value(key);
        return value.typeId() == QMetaType::QByteArray ? std::optional(value.toByteArray()) : std::nullopt;
    }
    void setData(const QByteArray& data, const QString& key) override { values.insert(key, data); }
    [[nodiscard]] bool boolForKey(const QString& key) const override { return values.value(key).toBool(); }
    void setBool(bool value, const QString& key) override { values.insert(key, value); }

    QHash<QString, QVariant> values;
};

class FakeUserDefaultsProvider final : public platform::UserDefaultsProvider
{
public:
    [[nodiscard]] std::shared_ptr<platform::UserDefaults> suite(const QString& name) override
    {
        openedSuites.push_back(name);
        return suiteStore;
    }
    [[nodiscard]] std::shared_ptr<platform::UserDefaults> standard() override { return standardStore; }

    std::vector<QString> openedSuites;
    /// Null stands for a suite that cannot be opened.
    std::shared_ptr<FakeUserDefaults> suiteStore = std::make_shared<FakeUserDefaults>();
    std::shared_ptr<FakeUserDefaults> standardStore = std::make_shared<FakeUserDefaults>();
};

class FakeKeychain final : public platform::Keychain
{
public:
    [[nodiscard]] Task<> unlock() override { [[maybe_unused]] const Result<> outcome = co_await unlocking.run(); }
    [[nodiscard]] platform::KeychainStatus add(const platform::KeychainQuery& item, const QByteArray& data) override
    {
        if (addStatus == platform::keychainSuccess) {
            items[{item.service, item.account}] = data;
        }
        return addStatus;
    }
    [[nodiscard]] platform::KeychainLookup copyMatching(const platform::KeychainQuery& query) override
    {
        if (lookup) {
            return *lookup;
        }
        const auto item = items.find({query.service, query.account});
        if (item == items.end()) {
            return {};
        }
        return {.status = platform::keychainSuccess, .data = item->second};
    }
    platform::KeychainStatus deleteItems(const platform::KeychainQuery& query) override
    {
        return items.erase({query.service, query.account}) > 0 ? platform::keychainSuccess
                                                               : platform::keychainItemNotFound;
    }

    Step<> unlocking;
    platform::KeychainStatus addStatus = platform::keychainSuccess;
    /// When set, what every lookup yields.
    std::optional<platform::KeychainLookup> lookup;
    /// By service and account.
    std::map<std::pair<QString, QString>, QByteArray> items;
};

} // namespace quorvel::test
