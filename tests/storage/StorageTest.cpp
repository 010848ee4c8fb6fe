#include "storage/ConsentGate.h"
#include "storage/KeychainService.h"
#include "storage/SettingsStore.h"
#include "support/EventLoop.h"
#include "support/FakeStores.h"

#include <QTest>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel::test {

class StorageTest final : public QObject
{
    Q_OBJECT

private:
    static const std::pair<QString, QString>& tokenKey()
    {
        static const std::pair key(u"com.quorvel.openai"_s, u"access_token"_s);
        return key;
    }

private Q_SLOTS:
    void settingsStoreFallsBackToTheStandardOne()
    {
        FakeUserDefaultsProvider provider;
        QCOMPARE(openSettingsStore(provider), provider.suiteStore);
        QCOMPARE(provider.openedSuites, std::vector{u"com.quorvel.settings"_s});

        provider.suiteStore = nullptr;
        QCOMPARE(openSettingsStore(provider), provider.standardStore);
    }

    void consentIsFalseUntilAccepted()
    {
        const auto store = std::make_shared<FakeUserDefaults>();
        QVERIFY(!ConsentGate(store).hasAcceptedConsent());
        ConsentGate(store).setHasAcceptedConsent(true);
        QVERIFY(ConsentGate(store).hasAcceptedConsent());
        QCOMPARE(store->values.value(u"consent.accepted"_s), QVariant(true));
    }

    void secretsSurviveARoundTrip_data()
    {
        QTest::addColumn<QString>("secret");
        QTest::newRow("ascii") << u"eyJhbGciOi.J9"_s;
        QTest::newRow("non-ASCII") << u"Schlüssel 鍵 🔑"_s;
        QTest::newRow("empty") << u""_s;
        QTest::newRow("with a null character") << u"a\0b"_s;
    }
    void secretsSurviveARoundTrip()
    {
        QFETCH(QString, secret);
        const auto keychain = std::make_shared<FakeKeychain>();
        keychain->items[tokenKey()] = "the one before";
        KeychainService service(keychain);

        QVERIFY(service.save(secret, u"access_token"_s));

        QCOMPARE(keychain->items.size(), 1U);
        QCOMPARE(keychain->items[tokenKey()], secret.toUtf8());
        QCOMPARE(service.load(u"access_token"_s), Result<std::optional<QString>>(secret));
        QCOMPARE(service.load(u"refresh_token"_s), Result<std::optional<QString>>(std::nullopt));

        service.remove(u"access_token"_s);
        service.remove(u"access_token"_s);
        QVERIFY(keychain->items.empty());
    }

    void refusedSaveLeavesNothing()
    {
        const auto keychain = std::make_shared<FakeKeychain>();
        keychain->items[tokenKey()] = "the one before";
        keychain->addStatus = -34;

        const Result<> saved = KeychainService(keychain).save(u"new"_s, u"access_token"_s);

        QVERIFY(!saved);
        QCOMPARE(saved.error().code, errorCode(KeychainError::unhandledStatus));
        QCOMPARE(saved.error().description, u"Keychain error: -34"_s);
        QVERIFY(keychain->items.empty());
    }

    void failingLoadsAreToldApart_data()
    {
        using platform::KeychainLookup;
        QTest::addColumn<KeychainLookup>("lookup");
        QTest::addColumn<std::error_code>("code");
        QTest::addColumn<QString>("description");
        const QString undecodable = u"The keychain item could not be decoded."_s;
        QTest::newRow("refused") << KeychainLookup{.status = platform::keychainInteractionNotAllowed, .data = {}}
                                 << errorCode(KeychainError::unhandledStatus) << u"Keychain error: -25308"_s;
        QTest::newRow("no bytes") << KeychainLookup{.status = platform::keychainSuccess, .data = {}}
                                  << errorCode(KeychainError::invalidData) << undecodable;
        QTest::newRow("not UTF-8") << KeychainLookup{.status = platform::keychainSuccess, .data = "\xC3\x28"}
                                   << errorCode(KeychainError::invalidData) << undecodable;
        QTest::newRow("cut off") << KeychainLookup{.status = platform::keychainSuccess, .data = "abc\xE2\x82"}
                                 << errorCode(KeychainError::invalidData) << undecodable;
    }
    void failingLoadsAreToldApart()
    {
        QFETCH(platform::KeychainLookup, lookup);
        QFETCH(std::error_code, code);
        QFETCH(QString, description);
        const auto keychain = std::make_shared<FakeKeychain>();
        keychain->lookup = lookup;

        const Result<std::optional<QString>> loaded = KeychainService(keychain).load(u"access_token"_s);

        QVERIFY(!loaded);
        QCOMPARE(loaded.error().code, code);
        QCOMPARE(loaded.error().description, description);
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::StorageTest)
#include "StorageTest.moc"
