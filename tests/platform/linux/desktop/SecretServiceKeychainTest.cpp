#include "platform/linux/desktop/SecretServiceKeychain.h"

#include "FakeSecretService.h"
#include "support/EventLoop.h"

#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <csignal>

using namespace Qt::StringLiterals;

namespace quorvel::test {

using platform::KeychainLookup;
using platform::KeychainQuery;
using platform::SecretServiceKeychain;

namespace {

Task<> unlockAndTell(SecretServiceKeychain* keychain, bool* hasEnded)
{
    Task<> unlocking = keychain->unlock();
    co_await unlocking;
    *hasEnded = true;
}

} // namespace

class SecretServiceKeychainTest final : public QObject
{
    Q_OBJECT

private:
    const KeychainQuery m_item{.service = u"com.quorvel.test"_s, .account = u"access_token"_s};
    const KeychainQuery m_other{.service = u"com.quorvel.test"_s, .account = u"refresh_token"_s};

    static void control(const QString& action)
    {
        QCOMPARE(QProcess::execute(qEnvironmentVariable("HEADLESS_SERVICE"), {action, u"keyring"_s}), 0);
    }

    static pid_t keyringProcess()
    {
        QFile file(qEnvironmentVariable("HEADLESS_DESKTOP") + "/pids/keyring"_L1);
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toInt() : -1;
    }

    static void lockDefaultCollection()
    {
        QDBusInterface service(u"org.freedesktop.secrets"_s, u"/org/freedesktop/secrets"_s,
                               u"org.freedesktop.Secret.Service"_s);
        const QDBusReply<QDBusObjectPath> collection = service.call(u"ReadAlias"_s, u"default"_s);
        QVERIFY(collection.isValid());
        const QList<QDBusObjectPath> objects{collection.value()};
        QCOMPARE(service.call(u"Lock"_s, QVariant::fromValue(objects)).type(), QDBusMessage::ReplyMessage);
    }

    static QByteArray everyByte()
    {
        QByteArray bytes(256, '\0');
        std::ranges::generate(bytes, [next = 0]() mutable { return static_cast<char>(next++); });
        return bytes;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(keyringProcess() > 0, "this test runs on the headless desktop"); }

    void cleanup()
    {
        SecretServiceKeychain keychain;
        keychain.deleteItems(m_item);
        keychain.deleteItems(m_other);
    }

    void itemsSurviveARoundTrip_data()
    {
        QTest::addColumn<QByteArray>("secret");
        QTest::newRow("ascii") << QByteArray("eyJhbGciOi.J9");
        QTest::newRow("non-ASCII") << QByteArray("Schlüssel 鍵 🔑");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("every byte") << everyByte();
        QTest::newRow("long") << QByteArray(20'000, 'x');
    }
    void itemsSurviveARoundTrip()
    {
        QFETCH(QByteArray, secret);
        SecretServiceKeychain keychain;
        QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainItemNotFound);
        QCOMPARE(keychain.deleteItems(m_item), platform::keychainItemNotFound);

        QCOMPARE(keychain.add(m_item, secret), platform::keychainSuccess);
        QCOMPARE(keychain.add(m_other, "the other account"), platform::keychainSuccess);

        const KeychainLookup lookup = SecretServiceKeychain().copyMatching(m_item);
        QCOMPARE(lookup.status, platform::keychainSuccess);
        QCOMPARE(lookup.data, secret);
        QCOMPARE(keychain.deleteItems(m_item), platform::keychainSuccess);
        QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainItemNotFound);
        QCOMPARE(keychain.copyMatching(m_other).data, QByteArray("the other account"));
    }

    void deleteRemovesEveryMatchingItem()
    {
        SecretServiceKeychain keychain;
        QCOMPARE(keychain.add(m_item, "one"), platform::keychainSuccess);
        QCOMPARE(keychain.add(m_item, "two"), platform::keychainSuccess);
        QCOMPARE(keychain.deleteItems(m_item), platform::keychainSuccess);
        QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainItemNotFound);
    }

    void restartedServiceIsFoundAgain()
    {
        SecretServiceKeychain keychain;
        QCOMPARE(keychain.add(m_item, "kept"), platform::keychainSuccess);
        QVERIFY(kill(keyringProcess(), SIGKILL) == 0);
        control(u"stop"_s);
        QCOMPARE(keychain.add(m_item, "lost"), platform::keychainNotAvailable);
        QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainNotAvailable);
        QCOMPARE(keychain.deleteItems(m_item), platform::keychainNotAvailable);
        bool hasEnded = false;
        launch(unlockAndTell(&keychain, &hasEnded));
        QVERIFY(waitUntil([&hasEnded] { return hasEnded; }));

        control(u"start"_s);
        QCOMPARE(keychain.copyMatching(m_item).data, QByteArray("kept"));
    }

    void hungServiceIsGivenUp_data()
    {
        QTest::addColumn<QString>("first");
        QTest::newRow("found by an unlock") << u"unlock"_s;
        QTest::newRow("found by a lookup") << u"lookup"_s;
        QTest::newRow("found by an addition") << u"add"_s;
        QTest::newRow("found by a deletion") << u"delete"_s;
    }
    void hungServiceIsGivenUp()
    {
        QFETCH(QString, first);
        SecretServiceKeychain keychain(std::chrono::milliseconds(300));
        const pid_t process = keyringProcess();
        QVERIFY(kill(process, SIGSTOP) == 0);
        bool hasEnded = false;
        if (first == u"unlock"_s) {
            launch(unlockAndTell(&keychain, &hasEnded));
            QVERIFY(waitUntil([&hasEnded] { return hasEnded; }));
        } else if (first == u"lookup"_s) {
            QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainNotAvailable);
        } else if (first == u"add"_s) {
            QCOMPARE(keychain.add(m_item, "lost"), platform::keychainNotAvailable);
        } else {
            QCOMPARE(keychain.deleteItems(m_item), platform::keychainNotAvailable);
        }
        QVERIFY(kill(process, SIGCONT) == 0);

        // The service is well again, and still nothing is asked of it.
        QCOMPARE(keychain.add(m_item, "lost"), platform::keychainNotAvailable);
        QCOMPARE(keychain.deleteItems(m_item), platform::keychainNotAvailable);
        QCOMPARE(SecretServiceKeychain().copyMatching(m_item).status, platform::keychainItemNotFound);
    }

    void lockedCollectionRefuses()
    {
        SecretServiceKeychain keychain;
        QCOMPARE(keychain.add(m_item, "kept"), platform::keychainSuccess);
        lockDefaultCollection();

        QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainInteractionNotAllowed);
        QCOMPARE(keychain.add(m_other, "lost"), platform::keychainInteractionNotAllowed);
        QCOMPARE(keychain.deleteItems(m_item), platform::keychainInteractionNotAllowed);

        control(u"restart"_s);
        QCOMPARE(keychain.copyMatching(m_item).data, QByteArray("kept"));
    }

    void promptIsAwaitedWithTheEventLoopRunning_data()
    {
        QTest::addColumn<bool>("dismissed");
        QTest::addColumn<platform::KeychainStatus>("statusAfter");
        QTest::newRow("unlocked") << false << platform::keychainInteractionNotAllowed; // as adding needs a prompt, too
        QTest::newRow("dismissed") << true << platform::keychainUserCanceled;
    }
    void promptIsAwaitedWithTheEventLoopRunning()
    {
        QFETCH(bool, dismissed);
        QFETCH(platform::KeychainStatus, statusAfter);
        control(u"stop"_s);
        {
            FakeSecretService service;
            SecretServiceKeychain keychain(std::chrono::milliseconds(300));
            QCOMPARE(keychain.add(m_item, "x"), platform::keychainInteractionNotAllowed);

            bool hasEnded = false;
            launch(unlockAndTell(&keychain, &hasEnded));
            int ticks = 0;
            QTimer timer;
            timer.callOnTimeout([&ticks] { ++ticks; });
            timer.start(std::chrono::milliseconds(10));
            QVERIFY(waitUntil([&service] { return service.openPrompts() == 1; }));
            QVERIFY(waitUntil([&ticks] { return ticks > 50; })); // longer than the service's time limit
            QVERIFY(!hasEnded);

            service.answerPrompt(dismissed);
            QVERIFY(waitUntil([&hasEnded] { return hasEnded; }));
            QCOMPARE(keychain.add(m_item, "x"), statusAfter);
            QCOMPARE(service.promptsShown(), 1); // none by the calls that must not ask
        }
        control(u"start"_s);
    }

    void openPromptIsWithdrawnWithTheKeychain()
    {
        control(u"stop"_s);
        {
            FakeSecretService service;
            bool hasEnded = false;
            {
                SecretServiceKeychain keychain;
                launch(unlockAndTell(&keychain, &hasEnded));
                QVERIFY(waitUntil([&service] { return service.openPrompts() == 1; }));
            }
            QVERIFY(waitUntil([&service, &hasEnded] { return service.openPrompts() == 0 && hasEnded; }));
        }
        control(u"start"_s);
    }

    void withoutDefaultCollectionNothingIsStored()
    {
        control(u"stop"_s);
        {
            FakeSecretService service;
            service.setDefaultCollection(false);
            SecretServiceKeychain keychain;
            QCOMPARE(keychain.add(m_item, "x"), platform::keychainNoDefault);
            QCOMPARE(keychain.copyMatching(m_item).status, platform::keychainItemNotFound);
            bool hasEnded = false;
            launch(unlockAndTell(&keychain, &hasEnded));
            QVERIFY(waitUntil([&hasEnded] { return hasEnded; }));
            QCOMPARE(service.promptsShown(), 0);
        }
        control(u"start"_s);
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::SecretServiceKeychainTest)
#include "SecretServiceKeychainTest.moc"
