#include "AppStateFixture.h"

#include <QSignalSpy>

using namespace quorvel;
using namespace Qt::StringLiterals;

class AppStateStartTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_app = std::make_unique<test::AppStateFixture>(); }
    void cleanup() { m_app.reset(); }

    void beginsWithItsInitialValues()
    {
        m_app->userDefaults->suiteStore->setBool(true, u"consent.accepted"_s);
        m_app->state = AppState::create(m_app->services(), test::AppStateFixture::origin());
        // Nothing has run yet: the constructor waits for nobody.
        QVERIFY(m_app->urlSession->requests.empty());
        QCOMPARE(state().apiKeyStatus(), APIKeyStatus::missing);
        QCOMPARE(state().sessionStatus(), SessionStatus::idle);
        QCOMPARE(state().backendAvailability(), BackendAvailability::checking);
        QCOMPARE(state().meetingContext(), MeetingContext::defaults());
        QCOMPARE(state().overlaySettings(), OverlaySettings());
        QVERIFY(!state().showOnboarding());
        QVERIFY(!state().showInterviewSetup());
        QCOMPARE(state().errorMessage(), std::nullopt);
        QVERIFY(m_app->panels->panels.empty());
    }

    void asksForConsentOnce()
    {
        m_app->create();
        QVERIFY(state().showOnboarding());
        state().acceptConsent();
        QVERIFY(!state().showOnboarding());
        m_app->state.reset();
        m_app->create();
        QVERIFY(!state().showOnboarding());
    }

    void loadsInOrder()
    {
        m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        m_app->keychain->items[{u"com.quorvel.openai"_s, u"access_token"_s}] = "saved token";
        m_app->urlSession->step(u"/api/auth/me"_s).hold();
        m_app->keychain->unlocking.hold();
        m_app->create();
        QCOMPARE(state().backendAvailability(), BackendAvailability::available);
        QCOMPARE(m_app->urlSession->requests.size(), 1U); // the keychain is still locked
        m_app->keychain->unlocking.release();
        test::settle();
        QCOMPARE(m_app->urlSession->requests.size(), 2U);
        QCOMPARE(state().apiKeyStatus(), APIKeyStatus::missing);
        QCOMPARE(state().meetingContext(), MeetingContext::defaults());
        QVERIFY(m_app->panels->panels.empty());

        m_app->urlSession->step(u"/api/auth/me"_s)
            .release(platform::UrlResponse{.httpStatus = 200,
                                           .body = R"({"user":{"id":"1","email":"a@b.example","role":"USER"}})"});
        test::settle();
        QCOMPARE(m_app->userEmail(), u"a@b.example"_s);
        QCOMPARE(state().apiKeyStatus(), APIKeyStatus::connected);
        QCOMPARE(state().meetingContext().resumeSummary, u"Resume"_s);
        QVERIFY(state().hasCompletedInterviewSetup());
        QVERIFY(!state().showInterviewSetup());
        QCOMPARE(m_app->panels->panels.size(), 1U);
        QVERIFY(!m_app->panels->panels.front()->isVisible);
        QCOMPARE(state().availableSources().size(), 1U);
        QCOMPARE(m_app->selectedId(), u"window-7"_s);
    }

    void stopsLoadingWithoutABackend()
    {
        m_app->urlSession->step(u"/api/health"_s).failWith(u"The server refused the connection."_s);
        m_app->keychain->items[{u"com.quorvel.openai"_s, u"access_token"_s}] = "saved token";
        m_app->create();
        QCOMPARE(state().backendAvailability(), BackendAvailability::unavailable);
        QCOMPARE(state().errorMessage(), std::optional(u"Could not connect to the server."_s));
        QCOMPARE(state().meetingContext(), MeetingContext::defaults());
        QVERIFY(state().availableSources().empty());

        // A later check makes it available and loads nothing else.
        auto& health = m_app->urlSession->step(u"/api/health"_s);
        health.hold();
        launch(state().checkBackend());
        QCOMPARE(state().backendAvailability(), BackendAvailability::checking);
        health.release(platform::UrlResponse{.httpStatus = 200, .body = R"({"ok":false})"});
        test::settle();
        QCOMPARE(state().backendAvailability(), BackendAvailability::available);
        QCOMPARE(state().errorMessage(), std::nullopt);
        QCOMPARE(state().apiKeyStatus(), APIKeyStatus::missing);
        QVERIFY(state().availableSources().empty());
        QCOMPARE(m_app->urlSession->requests.size(), 2U);
    }

    void opensSetupAfterLoading_data()
    {
        QTest::addColumn<bool>("isCompleted");
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<bool>("opensSetup");
        const QByteArray complete = R"({"userRole":"","meetingGoal":"","tone":"","resumeSummary":"r",)"
                                    R"("jobDescription":"j","sessionMode":"HR","keyterms":[]})";
        QTest::newRow("complete") << true << complete << false;
        QTest::newRow("never saved") << false << complete << true;
        QTest::newRow("flag with a blank profile") << true << QByteArray(complete).replace(R"("j")", R"(" ")") << true;
        QTest::newRow("flag with a key missing") << true << QByteArray(complete).replace(R"("tone":"",)", "") << true;
        QTest::newRow("flag with rubbish") << true << QByteArray("\xff{") << true;
    }

    void opensSetupAfterLoading()
    {
        QFETCH(bool, isCompleted);
        QFETCH(QByteArray, stored);
        m_app->userDefaults->suiteStore->setData(stored, u"meeting.context"_s);
        m_app->userDefaults->suiteStore->setBool(isCompleted, u"interview.setup.completed"_s);
        m_app->create();
        QTEST(state().showInterviewSetup(), "opensSetup");
        QTEST(state().needsInterviewSetup(), "opensSetup");
        QCOMPARE(m_app->userDefaults->suiteStore->dataForKey(u"meeting.context"_s), std::optional(stored));
    }

    void hidesAStoredOverlay()
    {
        OverlaySettings stored;
        stored.isVisible = true;
        stored.height = 200;
        stored.save(*m_app->userDefaults->suiteStore);
        m_app->create();
        QVERIFY(!state().overlaySettings().isVisible);
        QCOMPARE(state().overlaySettings().height, 200.0);
        QVERIFY(!OverlaySettings::load(*m_app->userDefaults->suiteStore).isVisible);
        QCOMPARE(m_app->panels->panels.front()->frame.height(), 200.0);
        QVERIFY(!m_app->panels->panels.front()->calls.contains(u"orderFrontRegardless"_s));
    }

    void fallsBackToTheStandardStore()
    {
        m_app->userDefaults->standardStore = m_app->userDefaults->suiteStore;
        m_app->userDefaults->suiteStore = nullptr;
        m_app->create();
        QCOMPARE(state().meetingContext().resumeSummary, u"Resume"_s);
    }

    void submitsMockLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<bool>("suggests");
        QTest::newRow("empty") << QString() << QStringList() << false;
        QTest::newRow("blank lines") << u" \n\t\r\n\u2028 "_s << QStringList() << false;
        QTest::newRow("every newline") << u"a\nb\vc\fd\re\r\nf\u0085g\u2028h\u2029i"_s
                                       << QStringList(
                                              {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s, u"f"_s, u"g"_s, u"h"_s, u"i"_s})
                                       << false;
        QTest::newRow("capitals after a line end pair")
            << u"Welcome\r\n  Please INTRODUCE yourself. "_s
            << QStringList({u"Welcome"_s, u"Please INTRODUCE yourself."_s}) << true;
        QTest::newRow("not the last line")
            << u"introduce yourself\nthanks"_s << QStringList({u"introduce yourself"_s, u"thanks"_s}) << false;
        // In a Turkish locale a dotless i would break the match.
        QTest::newRow("capital I") << u"INTRODUCE YOURSELF"_s << QStringList({u"INTRODUCE YOURSELF"_s}) << true;
    }

    void submitsMockLines()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, lines);
        QFETCH(bool, suggests);
        QLocale::setDefault(QLocale(QLocale::Turkish));
        m_app->create();
        state().setMockText(text);
        state().submitMockTranscript();
        QLocale::setDefault(QLocale::c());

        QStringList turns;
        for (const TranscriptTurn& turn : state().transcriptStore()->turns()) {
            turns << turn.text;
            QCOMPARE(turn.kind, TranscriptTurn::Kind::mock);
        }
        QCOMPARE(turns, lines);
        QCOMPARE(state().mockText(), lines.isEmpty() ? text : QString());
        QCOMPARE(state().suggestionEngine()->history().size(), suggests ? 1U : 0U);
        QCOMPARE(state().currentSuggestionText().startsWith(u"Sure. I'm a senior engineer"), suggests);
        if (suggests) {
            QCOMPARE(state().suggestionEngine()->currentSuggestion().confidence, 0.72);
            QCOMPARE(state().overlayViewState()->overlayText(), state().currentSuggestionText());
        }
        QCOMPARE(state().sessionStatus(), SessionStatus::idle);
    }

    void notifiesOncePerChange()
    {
        m_app->create();
        QSignalSpy text(&state(), &AppState::mockTextChanged);
        state().setMockText(u"a"_s);
        state().setMockText(u"a"_s);
        QCOMPARE(text.count(), 1);
        QSignalSpy needs(&state(), &AppState::needsInterviewSetupChanged);
        MeetingContext context = state().meetingContext();
        context.jobDescription.clear();
        state().setMeetingContext(context);
        state().setMeetingContext(context);
        QCOMPARE(needs.count(), 1);
        QVERIFY(state().needsInterviewSetup());
    }

private:
    [[nodiscard]] AppState& state() const { return *m_app->state; }

    std::unique_ptr<test::AppStateFixture> m_app;
};

QTEST_GUILESS_MAIN(AppStateStartTest)
#include "AppStateStartTest.moc"
