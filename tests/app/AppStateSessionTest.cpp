#include "AppStateFixture.h"

#include <QSignalSpy>

#include <vector>

using namespace quorvel;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using enum SessionStatus;

namespace {

const QString permissionText = u"Screen & System Audio Recording is enabled, but macOS has not applied it to this "
                               u"running copy yet. Quit and reopen "
                               "Quorvel, then choose the source again."_s;

QByteArray floats(float value, int count)
{
    const std::vector<float> samples(static_cast<std::size_t>(count), value);
    return {reinterpret_cast<const char*>(samples.data()), count * qsizetype(sizeof(float))};
}

} // namespace

class AppStateSessionTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_app = std::make_unique<test::AppStateFixture>(); }
    void cleanup() { m_app.reset(); }

    void tellsWhatIsMissing_data()
    {
        QTest::addColumn<bool>("hasSource");
        QTest::addColumn<bool>("hasProfile");
        QTest::addColumn<QString>("message");
        QTest::newRow("source") << false << false << u"Choose a screen, browser tab, or window to share."_s;
        QTest::newRow("profile") << true << false << u"Add your resume and job description before starting."_s;
        QTest::newRow("sign-in") << true << true << u"Please log in before starting."_s;
    }

    void tellsWhatIsMissing()
    {
        QFETCH(bool, hasSource);
        QFETCH(bool, hasProfile);
        m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
        if (!hasSource) {
            m_app->shareableContent->reading.setResult(platform::ShareableContent{});
        }
        if (!hasProfile) {
            m_app->storeContext(MeetingContext::defaults(), true);
        }
        m_app->create();
        state().setShowInterviewSetup(false);
        state().transcriptStore()->append(u"kept"_s, TranscriptTurn::Kind::mock);

        m_app->start();

        QTEST(state().errorMessage().value_or(QString()), "message");
        QCOMPARE(state().sessionStatus(), idle);
        QCOMPARE(state().showInterviewSetup(), hasSource && !hasProfile);
        QCOMPARE(state().transcriptStore()->turns().size(), 1U);
        QVERIFY(m_app->urlSession->webSockets.empty());
        QCOMPARE(m_app->capture->preflights, 0);
    }

    void startsStepByStep()
    {
        m_app->create();
        state().transcriptStore()->append(u"old"_s, TranscriptTurn::Kind::mock);
        state().transcriptStore()->setPartialText(u"old"_s);
        state().suggestionEngine()->takeIn({.shouldRespond = true, .suggestion = u"old"_s, .confidence = 1});
        m_app->capture->isAllowed = false;
        steps().start.hold();

        m_app->start(); // waits for the permission
        QCOMPARE(state().sessionStatus(), starting);
        QCOMPARE(state().backendConnectionStatus(), BackendConnectionStatus::connecting);
        QVERIFY(state().transcriptStore()->turns().empty());
        QCOMPARE(state().transcriptStore()->partialText(), QString());
        QCOMPARE(state().suggestionEngine()->currentSuggestion(), ResponseSuggestion());
        QVERIFY(state().suggestionEngine()->history().empty());
        QVERIFY(m_app->urlSession->webSockets.empty());

        m_app->capture->isAllowed = true;
        m_app->clock->advance(500ms);
        test::settle(); // waits for capture to start
        QCOMPARE(state().backendConnectionStatus(), BackendConnectionStatus::connected);
        QCOMPARE(state().sessionStatus(), starting);
        const auto sent = m_app->sentObjects();
        QCOMPARE(sent.size(), 1U);
        QCOMPARE(sent.front()[u"type"], QJsonValue(u"session.start"_s));
        QCOMPARE(sent.front()[u"source"][u"id"], QJsonValue(u"window-7"_s));
        QCOMPARE(sent.front()[u"context"][u"resumeSummary"], QJsonValue(u"Resume"_s));

        steps().start.release();
        test::settle();
        QCOMPARE(state().sessionStatus(), running);
        QCOMPARE(m_app->capture->requests, 1);

        state().transcriptStore()->append(u"kept"_s, TranscriptTurn::Kind::final);
        m_app->start(); // does nothing while running
        QCOMPARE(m_app->urlSession->webSockets.size(), 1U);
        QCOMPARE(state().transcriptStore()->turns().size(), 1U);
    }

    void failsAtEachStep_data()
    {
        QTest::addColumn<QString>("step");
        QTest::addColumn<QString>("message");
        QTest::newRow("permission") << u"permission"_s << permissionText;
        QTest::newRow("connection") << u"connection"_s << u"Backend returned an invalid response."_s;
        QTest::newRow("start message") << u"start"_s << u"The line is dead."_s;
        QTest::newRow("audio output") << u"audio"_s << u"No sound server."_s;
        QTest::newRow("picture output") << u"screen"_s << u"No picture."_s;
        QTest::newRow("capture") << u"capture"_s << u"Capture does not start."_s;
        QTest::newRow("capture, a refusal") << u"refused"_s << permissionText;
    }

    void failsAtEachStep()
    {
        QFETCH(QString, step);
        QFETCH(QString, message);
        m_app->create(step == u"connection"_s ? QUrl() : test::AppStateFixture::origin());
        m_app->capture->isAllowed = step != u"permission"_s;
        if (step == u"start"_s) {
            m_app->urlSession->prepareSocket = [](test::FakeWebSocketTask& socket) {
                socket.sending.failWith(u"The line is dead."_s);
            };
        } else if (step == u"audio"_s) {
            steps().addAudio = std::unexpected(test::failure(u"No sound server."_s));
        } else if (step == u"screen"_s) {
            steps().addScreen = std::unexpected(test::failure(u"No picture."_s));
        } else if (step == u"capture"_s) {
            steps().start.failWith(u"Capture does not start."_s);
        } else if (step == u"refused"_s) {
            steps().start.failWith(u"The user DECLINED it."_s);
        }

        m_app->start();
        for (int wait = 0; wait < 30 && step == u"permission"_s; ++wait) {
            QCOMPARE(state().sessionStatus(), starting);
            m_app->clock->advance(500ms);
            test::settle();
        }

        QCOMPARE(state().errorMessage(), std::optional(message));
        QCOMPARE(state().capturePermissionRecoveryVisible(), message == permissionText);
        QCOMPARE(state().sessionStatus(), failed);
        QCOMPARE(state().backendConnectionStatus(), BackendConnectionStatus::error);
        QCOMPARE(state().backendTranscriberStatus(), BackendTranscriberStatus::waiting);
        if (!m_app->urlSession->webSockets.empty()) {
            QCOMPARE(m_app->socket().closeCode, std::optional(platform::WebSocketCloseCode::goingAway));
        }
    }

    void changesStatus_data()
    {
        QTest::addColumn<SessionStatus>("from");
        QTest::addColumn<QString>("trigger");
        QTest::addColumn<SessionStatus>("to");
        QTest::addColumn<QString>("message"); // empty: none
        const QString lost = u"The connection was lost."_s;
        QTest::newRow("idle, capture error") << idle << u"capture error"_s << failed << u"No more sound."_s;
        QTest::newRow("idle, stop") << idle << u"stop"_s << idle << QString();
        QTest::newRow("idle, start") << idle << u"start"_s << running << QString();
        QTest::newRow("starting, disconnect") << starting << u"disconnect"_s << failed << lost;
        QTest::newRow("starting, fatal") << starting << u"fatal"_s << failed << u"Over."_s;
        QTest::newRow("starting, runs") << starting << u"runs"_s << running << QString();
        QTest::newRow("starting, capture error") << starting << u"capture error"_s << failed << u"No more sound."_s;
        QTest::newRow("starting, stop") << starting << u"stop"_s << idle << QString();
        QTest::newRow("running, disconnect") << running << u"disconnect"_s << failed << lost;
        QTest::newRow("running, fatal") << running << u"fatal"_s << failed << u"Over."_s;
        QTest::newRow("running, fatal in capitals") << running << u"Fatal"_s << running << u"Over."_s;
        QTest::newRow("running, capture error") << running << u"capture error"_s << failed << u"No more sound."_s;
        QTest::newRow("running, start") << running << u"start"_s << running << QString();
        QTest::newRow("running, stop") << running << u"stop"_s << idle << QString();
        QTest::newRow("stopping, disconnect") << stopping << u"disconnect"_s << idle << QString();
        QTest::newRow("stopping, runs") << stopping << u"runs"_s << idle << QString();
        QTest::newRow("failed, capture error") << failed << u"capture error"_s << failed << u"No more sound."_s;
        QTest::newRow("failed, start") << failed << u"start"_s << running << QString();
        QTest::newRow("failed, stop") << failed << u"stop"_s << idle << lost;
    }

    void changesStatus()
    {
        QFETCH(SessionStatus, from);
        QFETCH(QString, trigger);
        QFETCH(SessionStatus, to);
        m_app->create();
        bring(from);
        QCOMPARE(state().sessionStatus(), from);

        pull(trigger);
        test::settle();
        if (from == starting) {
            // What the event decided stands, whatever becomes of the step that was awaited.
            QCOMPARE(state().sessionStatus(), to);
        }
        steps().start.release();
        steps().stop.release();
        test::settle();

        QCOMPARE(state().sessionStatus(), to);
        QTEST(state().errorMessage().value_or(QString()), "message");
        // Nothing that was opened goes on unseen, and nothing that runs was closed.
        const bool hasEnded = to == failed || to == idle;
        if (from != idle || to == running) {
            QCOMPARE(m_app->socket().closeCode.has_value(), hasEnded);
        }
        QCOMPARE(isCaptureStopped(), hasEnded);
    }

    void ignoresItsOwnCloseWhileFailing()
    {
        m_app->create();
        m_app->start();
        steps().stop.hold();
        m_app->receive(R"({"type":"error","severity":"fatal","message":"Over."})");
        QCOMPARE(state().sessionStatus(), running); // capture is still being stopped
        steps().stop.release();
        test::settle();
        QCOMPARE(state().sessionStatus(), failed);
        QCOMPARE(state().errorMessage(), std::optional(u"Over."_s));
        QCOMPARE(state().backendConnectionStatus(), BackendConnectionStatus::error);
        QCOMPARE(state().backendTranscriberStatus(), BackendTranscriberStatus::error);
    }

    void handlesEvents_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QVariant>("value");
        const auto row = [](const char* name, const QByteArray& message, const char* property, const QVariant& value) {
            QTest::newRow(name) << message << QByteArray(property) << value;
        };
        row("connected", R"({"type":"session.status","state":"x","transcriber":"connected"})",
            "backendTranscriberStatus", u"Connected"_s);
        row("backend stays connected", R"({"type":"session.status"})", "backendConnectionStatus", u"Connected"_s);
        row("a message", R"({"type":"session.status","message":"Busy."})", "errorMessage", u"Busy."_s);
        row("an empty message", R"({"type":"session.status","message":""})", "errorMessage", u"before"_s);
        row("no message", R"({"type":"session.status"})", "errorMessage", u"before"_s);
        row("running", R"({"type":"session.status","state":"running"})", "sessionStatus", u"Running"_s);
        row("an error that can be recovered from", R"({"type":"error","message":"Odd."})", "errorMessage", u"Odd."_s);
        row("session goes on", R"({"type":"error","severity":"recoverable"})", "sessionStatus", u"Running"_s);
        row("a suggestion",
            R"({"type":"suggestion.update","shouldRespond":true,"suggestion":"S","confidence":1,"detectedIntent":"question"})",
            "currentSuggestionText", u"S"_s);
        row("a suggestion that needs no response",
            R"({"type":"suggestion.update","shouldRespond":false,"suggestion":"S","confidence":1,"detectedIntent":"question"})",
            "currentSuggestionText", QString());
    }

    void handlesEvents()
    {
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, property);
        m_app->create();
        m_app->start();
        m_app->receive(R"({"type":"error","message":"before"})");
        m_app->receive(message);
        QTEST(state().property(property.constData()), "value");
    }

    void writesTheTranscript()
    {
        m_app->create();
        m_app->start();
        m_app->receive(R"({"type":"transcript.delta","text":"wor","partial":" Hello wor"})");
        QCOMPARE(state().transcriptStore()->partialText(), u" Hello wor"_s);
        m_app->receive(R"({"type":"transcript.final","text":" Hello world "})");
        QCOMPARE(state().transcriptStore()->partialText(), QString());
        QCOMPARE(state().transcriptStore()->turns().back().text, u"Hello world"_s);
        QCOMPARE(state().transcriptStore()->turns().back().kind, TranscriptTurn::Kind::final);
        m_app->receive(R"({"type":"transcript.delta","partial":"x"})");
        m_app->receive(R"({"type":"transcript.final","text":"  "})");
        QCOMPARE(state().transcriptStore()->partialText(), QString());
        QCOMPARE(state().transcriptStore()->turns().size(), 1U);
    }

    void keepsDiagnosticsUntilTheNextStart()
    {
        m_app->create();
        m_app->start();
        QSignalSpy changed(&state(), &AppState::backendDiagnosticsChanged);
        const QByteArray tick = R"({"type":"diagnostic.tick","audioBytes":48000,"commits":2,"latencyMs":120})";
        m_app->receive(tick);
        m_app->receive(tick);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(state().backendDiagnostics().audioBytes, 48000);
        QCOMPARE(state().backendDiagnostics().latencyMs, std::optional<std::int64_t>(120));
        launch(state().stopSession());
        m_app->start();
        QCOMPARE(state().backendDiagnostics(), BackendDiagnostics());
    }

    void forwardsSoundInOrder()
    {
        m_app->create();
        m_app->start();
        for (const float value : {0.25F, 0.5F, -1.0F}) {
            m_app->stream().deliver(floats(value, 2));
        }
        test::settle();
        QByteArrayList frames;
        for (const platform::WebSocketMessage& message : m_app->socket().sent) {
            if (message.kind == platform::WebSocketMessage::Kind::binary) {
                frames << message.data.toHex();
            }
        }
        QCOMPARE(frames, QByteArrayList({"ff1fff1f", "ff3fff3f", "01800180"}));
        QCOMPARE(state().sessionStatus(), running);
    }

    void failsWhenSoundCannotBeSent()
    {
        m_app->create();
        m_app->start();
        state().suggestionEngine()->setWorking(true);
        m_app->socket().sending.failWith(u"The connection was reset."_s);
        m_app->stream().deliver(floats(0.5F, 480));
        test::settle();
        QCOMPARE(state().sessionStatus(), failed);
        QCOMPARE(state().errorMessage(), std::optional(u"The connection was reset."_s));
        QVERIFY(!state().suggestionEngine()->isWorking());
        QVERIFY(isCaptureStopped());
    }

    void stopsInOrderAndWithdrawsWhatIsUnsent()
    {
        m_app->create();
        m_app->start();
        m_app->socket().sending.hold(); // sound that never leaves
        m_app->stream().deliver(floats(0.5F, 480));
        test::settle();
        steps().stop.failWith(u"Capture does not stop."_s);
        launch(state().stopSession());
        test::settle();
        QCOMPARE(state().sessionStatus(), stopping);
        QCOMPARE(m_app->sentObjects().back(), QJsonObject({{u"type"_s, u"session.stop"_s}}));
        QCOMPARE(m_app->socket().closeCode, std::nullopt);
        m_app->socket().sending.release(std::unexpected(test::failure(u"Too late."_s)));
        test::settle();
        QCOMPARE(m_app->socket().closeCode, std::optional(platform::WebSocketCloseCode::goingAway));
        QVERIFY(m_app->socket().closeReason.isEmpty());
    }

    void showsAFailingStopAndStopsAllTheSame()
    {
        m_app->create();
        m_app->start();
        steps().stop.failWith(u"Capture does not stop."_s);
        launch(state().stopSession());
        test::settle();
        QCOMPARE(state().sessionStatus(), idle);
        QCOMPARE(state().errorMessage(), std::optional(u"Capture does not stop."_s));
        QCOMPARE(state().backendConnectionStatus(), BackendConnectionStatus::disconnected);
        QCOMPARE(state().backendTranscriberStatus(), BackendTranscriberStatus::closed);
    }

    void aLaterStartTakesOver()
    {
        m_app->create();
        steps().start.hold();
        m_app->start();
        const int stopsBefore = steps().stop.calls();
        m_app->start();
        QCOMPARE(m_app->urlSession->webSockets.size(), 2U);
        steps().start.release();
        test::settle();
        QCOMPARE(m_app->urlSession->webSockets.front()->closeCode,
                 std::optional(platform::WebSocketCloseCode::goingAway));
        QVERIFY(steps().stop.calls() >= stopsBefore);
    }

    void shutsDownWithoutWaiting()
    {
        m_app->create();
        m_app->start();
        steps().stop.hold();
        state().shutdown();
        QCOMPARE(m_app->socket().closeCode, std::optional(platform::WebSocketCloseCode::goingAway));
        QVERIFY(steps().stop.isWaiting());
        m_app->state.reset();
        steps().stop.release();
        test::settle();
    }

    void survivesItsEndWhileAnOperationWaits_data()
    {
        QTest::addColumn<QString>("waitsFor");
        for (const char* step :
             {"health", "keychain", "account", "sources", "permission", "start", "capture", "stop"}) {
            QTest::newRow(step) << QString::fromLatin1(step);
        }
    }

    void survivesItsEndWhileAnOperationWaits()
    {
        QFETCH(QString, waitsFor);
        auto& health = m_app->urlSession->step(u"/api/health"_s);
        auto& account = m_app->urlSession->step(u"/api/auth/me"_s);
        if (waitsFor == u"health"_s) {
            health.hold();
        } else if (waitsFor == u"keychain"_s) {
            m_app->keychain->unlocking.hold();
        } else if (waitsFor == u"account"_s) {
            m_app->urlSession->answer(u"/api/health"_s, 200, R"({"ok":true})");
            m_app->keychain->items[{u"com.quorvel.openai"_s, u"access_token"_s}] = "token";
            account.hold();
        } else if (waitsFor == u"sources"_s) {
            m_app->shareableContent->reading.hold();
        } else if (waitsFor == u"permission"_s) {
            m_app->capture->isAllowed = false;
        } else if (waitsFor == u"start"_s) {
            m_app->urlSession->prepareSocket = [](test::FakeWebSocketTask& socket) { socket.sending.hold(); };
        } else if (waitsFor == u"capture"_s) {
            steps().start.hold();
        }
        m_app->create();
        m_app->start();
        if (waitsFor == u"stop"_s) {
            steps().stop.hold();
            launch(state().stopSession());
        }
        const std::weak_ptr<AppState> weak = m_app->state;
        m_app->state.reset();

        health.release();
        account.release();
        m_app->keychain->unlocking.release();
        m_app->shareableContent->reading.release();
        m_app->capture->isAllowed = true;
        for (const auto& socket : m_app->urlSession->webSockets) {
            socket->sending.release();
        }
        for (int round = 0; round < 3; ++round) {
            m_app->clock->advance(500ms);
            test::settle();
            steps().start.release();
            steps().stop.release();
        }
        test::settle();
        QVERIFY2(weak.expired(), "an operation still holds the state");
        if (!m_app->capture->streams.empty()) {
            m_app->stream().deliver(floats(0.5F, 480)); // nobody is there any more
        }
    }

private:
    [[nodiscard]] AppState& state() const { return *m_app->state; }
    [[nodiscard]] test::CaptureSteps& steps() const { return *m_app->capture->steps; }

    /// Whether every stream that was started has been stopped since.
    [[nodiscard]] bool isCaptureStopped() const { return steps().stop.calls() >= steps().start.calls(); }

    void bring(SessionStatus status) const
    {
        if (status == starting) {
            steps().start.hold();
        }
        m_app->start();
        if (status == idle || status == stopping) {
            if (status == stopping) {
                steps().stop.hold();
            }
            launch(state().stopSession());
        } else if (status == failed) {
            m_app->socket().end(test::failure(u"The connection was lost."_s));
        }
        test::settle();
    }

    void pull(const QString& trigger) const
    {
        if (trigger == u"disconnect"_s) {
            m_app->socket().end(test::failure(u"The connection was lost."_s));
        } else if (trigger == u"fatal"_s || trigger == u"Fatal"_s) {
            m_app->receive(R"({"type":"error","severity":")" + trigger.toUtf8() + R"(","message":"Over."})");
        } else if (trigger == u"runs"_s) {
            m_app->receive(R"({"type":"session.status","state":"running"})");
        } else if (trigger == u"capture error"_s) {
            const auto delegate = m_app->stream().delegate.lock();
            QVERIFY(delegate);
            delegate->didStopWithError(test::failure(u"No more sound."_s));
        } else if (trigger == u"stop"_s) {
            launch(state().stopSession());
        } else if (trigger == u"start"_s) {
            launch(state().startSession());
        }
    }

    std::unique_ptr<test::AppStateFixture> m_app;
};

QTEST_GUILESS_MAIN(AppStateSessionTest)
#include "AppStateSessionTest.moc"
