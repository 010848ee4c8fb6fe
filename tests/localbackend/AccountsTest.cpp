#include "accounts/AccountStore.h"
#include "accounts/AccountsFile.h"
#include "accounts/OneTimeCodes.h"
#include "fixtures/FakeServices.h"
#include "support/Secrets.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace quorvel::localbackend;
using namespace std::chrono_literals;

namespace {

const std::string someone = "someone@example.org";

std::string readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

} // namespace

class AccountsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codeIsValidOnceAndForTenMinutes()
    {
        FakeClock time;
        OneTimeCodes codes(time.clock(), randomSixDigits);
        const auto first = codes.issue(someone);
        QVERIFY(first);
        QCOMPARE(first->size(), 6U);
        QVERIFY(!codes.verify("other@example.org", *first));
        time.advance(10min - 1s);
        QVERIFY(codes.verify(someone, *first));
        QVERIFY2(!codes.verify(someone, *first), "a used code must not be valid again");

        const auto second = codes.issue(someone);
        QVERIFY(second);
        time.advance(10min);
        QVERIFY2(!codes.verify(someone, *second), "the code has expired");
    }

    void newCodeReplacesTheEarlierOne()
    {
        FakeClock time;
        int number = 100'000;
        OneTimeCodes codes(time.clock(), [&]() -> Result<std::string> { return std::to_string(number++); });
        const auto first = codes.issue(someone).value();
        const auto second = codes.issue(someone).value();
        QVERIFY(!codes.verify(someone, first));
        QVERIFY(codes.verify(someone, second));
    }

    void codeEndsAfterFiveWrongTries()
    {
        FakeClock time;
        OneTimeCodes codes(time.clock(), []() -> Result<std::string> { return "123456"; });
        QVERIFY(codes.issue(someone));
        for (int i = 0; i < 5; ++i)
            QCOMPARE(codes.verify(someone, "000000").error().fault, Fault::Unauthorized);
        QVERIFY2(!codes.verify(someone, "123456"), "the right code comes one try too late");
    }

    void requestsAreLimitedPerAddress()
    {
        FakeClock time;
        OneTimeCodes codes(time.clock(), randomSixDigits);
        for (int i = 0; i < 5; ++i) {
            QVERIFY(codes.issue(someone));
            time.advance(1min);
        }
        QCOMPARE(codes.issue(someone).error().fault, Fault::TooMany);
        QVERIFY(codes.issue("other@example.org"));
        time.advance(5min);
        QVERIFY2(codes.issue(someone), "the first request is ten minutes old");
        QCOMPARE(codes.issue(someone).error().fault, Fault::TooMany);
    }

    void addressesAreBounded()
    {
        FakeClock time;
        OneTimeCodes codes(time.clock(), []() -> Result<std::string> { return "123456"; });
        for (std::size_t i = 0; i < OneTimeCodes::mostAddresses; ++i)
            QVERIFY(codes.issue("a" + std::to_string(i) + "@example.org"));
        QCOMPARE(codes.issue(someone).error().fault, Fault::TooMany);
        time.advance(10min);
        QVERIFY(codes.issue(someone));
    }

    void digestIsTheStandardOne()
    {
        QCOMPARE(sha256Hex("abc"), std::string("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    }

    void signInOutlivesARestartAndIsStoredHashed()
    {
        FakeClock time;
        const QTemporaryDir directory;
        const std::filesystem::path path = directory.filePath(QStringLiteral("state")).toStdString();
        std::string access;
        std::string refresh;
        std::string id;
        {
            auto store = AccountStore::open(path, time.clock());
            QVERIFY(store);
            const auto signIn = store->signIn(someone);
            QVERIFY(signIn);
            QCOMPARE(signIn->expiresIn, std::chrono::seconds(30 * 24h));
            access = signIn->accessToken;
            refresh = signIn->refreshToken;
            id = signIn->user.id;
        }
        const QString file = directory.filePath(QStringLiteral("state/accounts.json"));
        const auto stored = readAll(file);
        QVERIFY(stored.contains(someone));
        QVERIFY(!stored.contains(access) && !stored.contains(refresh));
        QCOMPARE(QFile::permissions(file) &
                     (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::Permissions());

        auto store = AccountStore::open(path, time.clock());
        QVERIFY(store);
        QCOMPARE(store->userOf(access).value_or(User{}).id, id);
        QVERIFY(!store->userOf(refresh));
        QCOMPARE(store->signIn(someone)->user.id, id);

        const auto renewed = store->refresh(refresh);
        QVERIFY(renewed);
        QVERIFY2(!store->userOf(access), "the exchanged sign-in has ended");
        QVERIFY(!store->refresh(refresh));
        time.advance(30 * 24h);
        QVERIFY(!store->userOf(renewed->accessToken));
        QVERIFY(store->refresh(renewed->refreshToken));
    }

    void oldestSignInsEnd()
    {
        FakeClock time;
        const QTemporaryDir directory;
        auto store = AccountStore::open(directory.path().toStdString(), time.clock());
        const auto first = store->signIn(someone)->accessToken;
        std::string last;
        for (std::size_t i = 0; i < AccountStore::mostSignInsPerUser; ++i) {
            QVERIFY(store->userOf(first));
            time.advance(1s);
            last = store->signIn(someone)->accessToken;
        }
        QVERIFY(!store->userOf(first));
        QVERIFY(store->userOf(last));
    }

    void unusableStateIsReported_data()
    {
        QTest::addColumn<QString>("content");
        QTest::newRow("not JSON") << QStringLiteral("{");
        QTest::newRow("another shape") << QStringLiteral(R"({"users":{}})");
        QTest::newRow("incomplete user") << QStringLiteral(R"({"users":[{"id":"x"}],"sessions":[]})");
        QTest::newRow("session with a text as time") << QStringLiteral(
            R"({"users":[],"sessions":[{"accessHash":"a","refreshHash":"b","userId":"c","accessExpiry":"1","refreshExpiry":2}]})");
    }
    void unusableStateIsReported()
    {
        QFETCH(QString, content);
        FakeClock time;
        const QTemporaryDir directory;
        QFile file(directory.filePath(QStringLiteral("accounts.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content.toUtf8());
        file.close();
        const auto store = AccountStore::open(directory.path().toStdString(), time.clock());
        QVERIFY(!store);
        QVERIFY(store.error().sentence.contains("accounts.json"));
        QCOMPARE(readAll(file.fileName()), content.toStdString());
    }

    void unwritableStateIsReported()
    {
        FakeClock time;
        const QTemporaryDir directory;
        QFile file(directory.filePath(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (const QString& path : {QStringLiteral("file"), QStringLiteral("file/below")}) {
            const auto store = AccountStore::open(directory.filePath(path).toStdString(), time.clock());
            QVERIFY(!store);
            QVERIFY(store.error().sentence.contains("file"));
        }
    }

    void failedWriteLeavesNoSignIn()
    {
        FakeClock time;
        QTemporaryDir directory;
        auto store = AccountStore::open(directory.path().toStdString(), time.clock());
        QVERIFY(store);
        QVERIFY(directory.remove());
        QCOMPARE(store->signIn(someone).error().fault, Fault::Unavailable);
        QVERIFY(QDir().mkpath(directory.path()));
        QVERIFY(store->signIn(someone));
        const auto stored = parseAccounts(readAll(directory.filePath(QStringLiteral("accounts.json"))));
        QCOMPARE(stored->users.size(), 1U);
        QCOMPARE(stored->sessions.size(), 1U);
        QVERIFY(QDir(directory.path()).removeRecursively());
    }
};

QTEST_APPLESS_MAIN(AccountsTest)
#include "AccountsTest.moc"
