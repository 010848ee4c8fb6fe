#include "AppStateFixture.h"

#include <QSignalSpy>

using namespace quorvel;
using namespace Qt::StringLiterals;

namespace {

const std::pair<QString, QString> accessItem{u"com.quorvel.openai"_s, u"access_token"_s};
const std::pair<QString, QString> refreshItem{u"com.quorvel.openai"_s, u"refresh_token"_s};

QByteArray startAnswer(const QString& url)
{
    return QJsonDocument(QJsonObject{{u"url"_s, url}}).toJson();
}

} // namespace

class AppStateAccountTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_app = std::make_unique<test::AppStateFixture>();
        m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        m_app->urlSession->answer(u"/api/auth/me"_s, 200,
                                  R"({"user":{"id":"1","email":"me@mail.example","role":"USER"}})");
    }
    void cleanup() { m_app.reset(); }

    void usesTheDevelopmentUser_data()
    {
        QTest::addColumn<QByteArray>("health");
        QTest::addColumn<bool>("isAuthenticated");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("role");
        QTest::newRow("no flags") << QByteArray(R"({"ok":true,"development":null})") << false << QString() << QString()
                                  << QString();
        QTest::newRow("administrator alone")
            << QByteArray(R"({"ok":true,"development":{"disableAuth":false,"disableAdminAuth":true}})") << false
            << QString() << QString() << QString();
        QTest::newRow("user") << QByteArray(
                                     R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})")
                              << true << u"dev-user"_s << u"Development User"_s << u"USER"_s;
        QTest::newRow("administrator")
            << QByteArray(R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":true}})") << true
            << u"dev-admin"_s << u"Development Admin"_s << u"ADMIN"_s;
    }

    void usesTheDevelopmentUser()
    {
        QFETCH(QByteArray, health);
        QFETCH(bool, isAuthenticated);
        QFETCH(QString, id);
        m_app->keychain->items[accessItem] = "";
        m_app->urlSession->step(u"/api/auth/me"_s).failWith(u"No."_s);
        m_app->urlSession->answer(u"/api/health"_s, 200, health);
        m_app->create();
        const auto isDevelopmentUser = [&] {
            QCOMPARE(state().isAuthenticated(), isAuthenticated);
            QCOMPARE(state().authUser().has_value(), isAuthenticated);
            if (state().authUser()) {
                QCOMPARE(state().authUser()->id, id);
                QTEST(state().authUser()->name.value_or(QString()), "name");
                QTEST(state().authUser()->role, "role");
                QVERIFY(m_app->userEmail().endsWith(u".example"));
            }
        };
        isDevelopmentUser();
        state().logout();
        isDevelopmentUser(); // under the bypass it comes back at once
        test::settle();
    }

    void forgetsTheFlagsButNotTheUser()
    {
        m_app->urlSession->answer(u"/api/health"_s, 200,
                                  R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})");
        m_app->create();
        m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        launch(state().checkBackend());
        test::settle();
        QCOMPARE(state().developmentFlags(), BackendDevelopmentFlags());
        QVERIFY(state().isAuthenticated());
        state().logout();
        QVERIFY(!state().isAuthenticated());
        test::settle();
    }

    void requestsACode_data()
    {
        QTest::addColumn<QString>("email");
        QTest::addColumn<QByteArray>("answer"); // empty: the request fails
        QTest::addColumn<QString>("message");
        QTest::newRow("blank") << u" \u2003\n"_s << QByteArray(R"({"ok":true})") << u"Enter your email."_s;
        QTest::newRow("sent") << u" a@b.example "_s << QByteArray(R"({"ok":true})")
                              << u"Check Gmail for your login code."_s;
        QTest::newRow("development") << u"a@b.example"_s << QByteArray(R"({"ok":true,"devCode":"123456"})")
                                     << u"Local dev code: 123456"_s;
        QTest::newRow("failure") << u"a@b.example"_s << QByteArray() << u"The server took too long to answer."_s;
    }

    void requestsACode()
    {
        QFETCH(QString, email);
        QFETCH(QByteArray, answer);
        m_app->create();
        auto& request = m_app->urlSession->step(u"/api/auth/otp/request"_s);
        request.hold();
        state().setAuthEmail(email);
        launch(state().requestOtp());
        const bool isSent = request.isWaiting();
        QCOMPARE(isSent, !email.trimmed().isEmpty());
        QCOMPARE(state().isAuthenticating(), isSent);
        if (isSent) {
            const auto body = std::get<QByteArray>(m_app->urlSession->requests.back().body);
            QCOMPARE(QJsonDocument::fromJson(body).object(), QJsonObject({{u"email"_s, email}}));
        }
        if (answer.isEmpty()) {
            request.release(std::unexpected(test::failure(u"The server took too long to answer."_s)));
        } else {
            request.release(platform::UrlResponse{.httpStatus = 200, .body = answer});
        }
        test::settle();
        QVERIFY(!state().isAuthenticating());
        QTEST(state().authMessage().value_or(QString()), "message");
        QCOMPARE(state().authDevCode().has_value(), answer.contains("devCode"));
        QCOMPARE(state().authEmail(), email);
    }

    void signsInWithACode_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("keychainWorks");
        QTest::newRow("accepted") << 200 << true;
        QTest::newRow("accepted, no keychain") << 200 << false;
        QTest::newRow("refused") << 401 << true;
    }

    void signsInWithACode()
    {
        QFETCH(int, status);
        QFETCH(bool, keychainWorks);
        m_app->create();
        m_app->keychain->addStatus = keychainWorks ? platform::keychainSuccess : platform::keychainNotAvailable;
        const QByteArray session = R"({"user":{"id":"1","email":"old@mail.example","role":"USER"},"accessToken":"at",)"
                                   R"("refreshToken":"rt","expiresIn":3600})";
        m_app->urlSession->answer(u"/api/auth/otp/verify"_s, status, status == 200 ? session : "Wrong code.");
        state().setAuthEmail(u"a@b.example"_s);
        state().setAuthCode(u" 12 "_s);
        QSignalSpy authenticating(&state(), &AppState::isAuthenticatingChanged);
        launch(state().verifyOtp());
        test::settle();

        QCOMPARE(authenticating.count(), 2);
        QVERIFY(!state().isAuthenticating());
        QCOMPARE(state().isAuthenticated(), status == 200);
        QCOMPARE(m_app->keychain->items.size(), status == 200 && keychainWorks ? 2U : 0U);
        QCOMPARE(state().authCode(), u" 12 "_s);
        if (status == 200) {
            QCOMPARE(m_app->userEmail(), u"me@mail.example"_s); // as the backend tells it afterwards
            QVERIFY(hasBearer("at"));
            QCOMPARE(state().authMessage(), std::nullopt);
        } else {
            QCOMPARE(state().authMessage(), std::optional(u"Wrong code."_s));
        }
    }

    void dropsARefusedTokenForThisRun()
    {
        m_app->keychain->items[accessItem] = "forgotten";
        m_app->urlSession->answer(u"/api/auth/me"_s, 401, "Unknown token.");
        m_app->create();
        QVERIFY(hasBearer("forgotten"));
        QVERIFY(!state().isAuthenticated());
        QCOMPARE(state().authMessage(), std::nullopt);
        QVERIFY(m_app->keychain->items.contains(accessItem));
        QCOMPARE(state().apiKeyStatus(), APIKeyStatus::connected);
    }

    void beginsWithGoogle_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("opened"); // empty: nothing
        QTest::addColumn<QString>("message");
        QTest::newRow("address") << startAnswer(u"https://accounts.example/start?x=1"_s)
                                 << u"https://accounts.example/start?x=1"_s << QString();
        QTest::newRow("no address") << startAnswer(u"http://[bad"_s) << QString()
                                    << u"Backend returned an invalid response."_s;
    }

    void beginsWithGoogle()
    {
        QFETCH(QByteArray, answer);
        QFETCH(QString, opened);
        m_app->create();
        m_app->urlSession->answer(u"/api/auth/google/start"_s, 200, answer);
        QSignalSpy authenticating(&state(), &AppState::isAuthenticatingChanged);
        launch(state().beginGoogleLogin());
        test::settle();
        QCOMPARE(authenticating.count(), 2);
        QVERIFY(!state().isAuthenticating());
        QCOMPARE(m_app->workspace->opened.size(), opened.isEmpty() ? 0U : 1U);
        if (!opened.isEmpty()) {
            QCOMPARE(m_app->workspace->opened.front(), QUrl(opened));
        }
        QTEST(state().authMessage().value_or(QString()), "message");
    }

    void takesCallbacks_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("access"); // empty: nothing is taken
        QTest::addColumn<bool>("tells");
        const QString tokens = u"?accessToken=a&refreshToken=r"_s;
        QTest::newRow("tokens") << u"quorvel://auth"_s + tokens << QByteArray("a") << false;
        QTest::newRow("with a path") << u"quorvel://auth/done"_s + tokens << QByteArray("a") << false;
        QTest::newRow("encoded") << u"quorvel://auth?accessToken=a%2B%26%3D%25&refreshToken=r"_s << QByteArray("a+&=%")
                                 << false;
        QTest::newRow("a plus stays") << u"quorvel://auth?accessToken=a+b&refreshToken=r"_s << QByteArray("a+b")
                                      << false;
        QTest::newRow("twice: the first")
            << u"quorvel://auth?accessToken=1&refreshToken=r&accessToken=2"_s << QByteArray("1") << false;
        QTest::newRow("no refresh token") << u"quorvel://auth?accessToken=a"_s << QByteArray() << true;
        QTest::newRow("no value") << u"quorvel://auth?accessToken&refreshToken=r"_s << QByteArray() << true;
        QTest::newRow("names in capitals") << u"quorvel://auth?ACCESSTOKEN=a&refreshToken=r"_s << QByteArray() << true;
        QTest::newRow("in the fragment") << u"quorvel://auth#accessToken=a&refreshToken=r"_s << QByteArray() << true;
        QTest::newRow("other host") << u"quorvel://other"_s + tokens << QByteArray() << false;
        QTest::newRow("longer host") << u"quorvel://auth.example"_s + tokens << QByteArray() << false;
        QTest::newRow("host in capitals") << u"quorvel://AUTH"_s + tokens << QByteArray() << false;
        QTest::newRow("scheme in capitals") << u"QUORVEL://auth"_s + tokens << QByteArray() << false;
        QTest::newRow("other scheme") << u"https://auth"_s + tokens << QByteArray() << false;
        QTest::newRow("no host") << u"quorvel:auth"_s + tokens << QByteArray() << false;
        QTest::newRow("nothing") << QString() << QByteArray() << false;
        QTest::newRow("oversized") << u"quorvel://auth"_s + tokens + QString(1'000'000, u'x') << QByteArray() << false;
        QTest::newRow("broken encoding") << u"quorvel://auth?accessToken=%ZZ&refreshToken=r"_s << QByteArray("%ZZ")
                                         << false;
    }

    void takesCallbacks()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, access);
        QFETCH(bool, tells);
        m_app->create();
        state().handleAuthCallback(address);
        QCOMPARE(m_app->keychain->items.contains(accessItem), !access.isEmpty());
        QCOMPARE(state().authMessage(),
                 tells ? std::optional(u"Google login callback did not include tokens."_s) : std::nullopt);
        QVERIFY(!state().isAuthenticated());
        test::settle();
        QCOMPARE(state().isAuthenticated(), !access.isEmpty());
        if (!access.isEmpty()) {
            QCOMPARE(m_app->keychain->items[accessItem], access);
            QCOMPARE(m_app->keychain->items[refreshItem], QByteArray("r"));
            QVERIFY(hasBearer(access));
        }
    }

    void takesACallbackWhileARequestIsInFlight()
    {
        m_app->create();
        m_app->urlSession->step(u"/api/auth/otp/verify"_s).hold();
        launch(state().verifyOtp());
        state().handleAuthCallback(u"quorvel://auth?accessToken=a&refreshToken=r"_s);
        state().handleAuthCallback(u"quorvel://auth?accessToken=b&refreshToken=r"_s);
        test::settle();
        QVERIFY(state().isAuthenticated());
        QVERIFY(state().isAuthenticating());
        QVERIFY(hasBearer("b"));
        m_app->urlSession->step(u"/api/auth/otp/verify"_s).release(std::unexpected(test::failure(u"No."_s)));
        test::settle();
        QVERIFY(state().isAuthenticated());
        QVERIFY(!state().isAuthenticating());
    }

    void logsOut()
    {
        m_app->create();
        state().handleAuthCallback(u"quorvel://auth?accessToken=a&refreshToken=r"_s);
        test::settle();
        launch(state().startScreenShare(std::nullopt));
        test::settle();
        QCOMPARE(state().sessionStatus(), SessionStatus::running);
        state().logout();
        QVERIFY(m_app->keychain->items.empty());
        QVERIFY(!state().isAuthenticated());
        QCOMPARE(state().sessionStatus(), SessionStatus::running); // the session ends in a call of its own
        test::settle();
        QCOMPARE(state().sessionStatus(), SessionStatus::idle);
        QVERIFY(!state().overlaySettings().isVisible);
    }

private:
    [[nodiscard]] AppState& state() const { return *m_app->state; }

    /// Whether the newest request carries this token.
    [[nodiscard]] bool hasBearer(const QByteArray& token) const
    {
        const auto& headers = m_app->urlSession->requests.back().headers;
        return std::ranges::find(headers, std::pair<QByteArray, QByteArray>("Authorization", "Bearer " + token)) !=
               headers.end();
    }

    std::unique_ptr<test::AppStateFixture> m_app;
};

QTEST_GUILESS_MAIN(AppStateAccountTest)
#include "AppStateAccountTest.moc"
