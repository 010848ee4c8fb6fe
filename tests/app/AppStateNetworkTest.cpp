#include "AppStateFixture.h"
#include "platform/linux/network/QtUrlSession.h"
#include "support/LoopbackServer.h"

#include <QHash>

using namespace quorvel;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// An application state on the real network layer, and the server that it talks to; the rest of the system is fake.
struct Setting : AppStateFixture
{
    explicit Setting(platform::NetworkLimits limits = {.closingTime = 5s})
    {
        keychain->items[{u"com.quorvel.openai"_s, u"access_token"_s}] = "s3cret+token";
        platform::Services all = services();
        all.urlSession = std::make_shared<platform::QtUrlSession>(limits);
        state = AppState::create(all, server.url(u"http"_s, {}));
    }

    /// Answers the requests of start-up loading, until the user is signed in. False if others came.
    [[nodiscard]] bool load()
    {
        const QByteArray origin = "127.0.0.1:" + QByteArray::number(server.serverPort());
        const QHash<QByteArray, QByteArray> answers{
            {"GET /api/health HTTP/1.1", R"({"ok":true})"},
            {"GET /api/auth/me HTTP/1.1", R"({"user":{"id":"7","email":"ada@mail.example","role":"USER"}})"},
        };
        for (qsizetype request = 0; request < answers.size(); ++request) {
            Peer* const peer = server.nextPeer();
            const QByteArray head = peer == nullptr ? QByteArray() : peer->takeHead();
            const QByteArray line = head.first(std::max<qsizetype>(head.indexOf('\r'), 0));
            const bool isSignedIn = head.contains("\r\nAuthorization: Bearer s3cret+token\r\n");
            if (!answers.contains(line) || !head.contains("\r\nHost: " + origin + "\r\n") ||
                isSignedIn != line.contains("/auth/")) {
                return false;
            }
            const QByteArray& body = answers[line];
            peer->write("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + QByteArray::number(body.size()) +
                        "\r\n\r\n" + body);
        }
        return waitUntil([this] { return state->isAuthenticated() && state->selectedSource(); });
    }

    /// Starts a session up to the handshake's request; null if it does not come.
    [[nodiscard]] Peer* call()
    {
        launch(state->startSession());
        return server.nextPeer();
    }

    [[nodiscard]] bool becomes(SessionStatus status) const
    {
        return waitUntil([this, status] { return state->sessionStatus() == status; });
    }

    LoopbackServer server;
};

} // namespace

/// The application state over the real URL session and real connections.
class AppStateNetworkTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsASession()
    {
        Setting app;
        QVERIFY(app.load());
        QCOMPARE(app.userEmail(), u"ada@mail.example"_s);
        Peer* const peer = app.call();
        QVERIFY(peer);
        QVERIFY(peer->acceptWebSocket().startsWith("GET /ws/realtime?token=s3cret%2Btoken HTTP/1.1\r\n"));
        const ClientFrame start = peer->takeFrame().value_or(ClientFrame{});
        QCOMPARE(start.opcode, 1);
        const QJsonObject sent = QJsonDocument::fromJson(start.payload).object();
        QCOMPARE(sent.keys(), (QStringList{u"audio"_s, u"context"_s, u"source"_s, u"type"_s}));
        QCOMPARE(sent[u"type"], QJsonValue(u"session.start"_s));
        QCOMPARE(sent[u"source"], QJsonValue(QJsonObject{{u"id"_s, u"window-7"_s},
                                                         {u"kind"_s, u"Browser"_s},
                                                         {u"title"_s, u"Meet - Weekly sync"_s},
                                                         {u"applicationName"_s, u"Chrome"_s}}));
        QVERIFY(app.becomes(SessionStatus::running));

        const std::vector<float> samples{0.25F, 0.5F, -1.0F};
        app.stream().deliver({reinterpret_cast<const char*>(samples.data()), 12});
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 2, .payload = QByteArray::fromHex("ff1fff3f0180")}));

        peer->write(textFrame(R"({"type":"session.status","transcriber":"connected"})") +
                    textFrame(R"({"type":"transcript.delta","text":"wor","partial":"Hello wor"})"));
        QVERIFY(waitUntil([&] { return app.state->transcriptStore()->partialText() == u"Hello wor"_s; }));
        QCOMPARE(app.state->backendTranscriberStatus(), BackendTranscriberStatus::connected);
        peer->write(textFrame(R"({"type":"transcript.final","text":"Hello wörld 🎧"})"));
        QVERIFY(waitUntil([&] { return !app.state->transcriptStore()->turns().empty(); }));
        QCOMPARE(app.state->transcriptStore()->turns().front().text, u"Hello wörld 🎧"_s);

        launch(app.state->stopSession());
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 1, .payload = R"({"type":"session.stop"})"}));
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1001)}));
        peer->write(serverFrame(0x88, closePayload(1001)));
        peer->finish();
        QVERIFY(app.becomes(SessionStatus::idle));
        QVERIFY(waitUntil([&] { return peer->isGone; }));
        QCOMPARE(app.state->errorMessage(), std::nullopt);
        QCOMPARE(app.state->backendConnectionStatus(), BackendConnectionStatus::disconnected);
    }

    /// Each fault with what its user reads; the next session works.
    void tellsOfAFault_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("message");
        const QString lost = u"The connection to the server was lost."_s;
        QTest::newRow("refused") << u"refused"_s << u"The server refused the connection."_s;
        QTest::newRow("sign-in") << u"401"_s << u"The server does not accept the sign-in. Sign in again."_s;
        QTest::newRow("killed") << u"killed"_s << lost;
        QTest::newRow("ends without a word") << u"ends"_s << lost;
        QTest::newRow("silent for ever") << u"silent"_s << lost;
        QTest::newRow("restarts") << u"restarts"_s << u"The server is restarting. Try again in a moment."_s;
        QTest::newRow("talks nonsense") << u"nonsense"_s << u"The server sent something that cannot be understood."_s;
    }

    void tellsOfAFault()
    {
        QFETCH(QString, fault);
        QFETCH(QString, message);
        platform::NetworkLimits limits{.closingTime = 5s};
        if (fault == u"silent"_s) {
            limits.pingInterval = 300ms;
            limits.pongTimeout = 300ms;
        }
        Setting app(limits);
        QVERIFY(app.load());
        const quint16 port = app.server.serverPort();
        if (fault == u"refused"_s) {
            app.server.close();
            launch(app.state->startSession());
        } else {
            Peer* const peer = app.call();
            QVERIFY(peer);
            if (fault == u"401"_s) {
                QVERIFY(!peer->takeHead().isEmpty());
                peer->write("HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n\r\n");
            } else {
                QVERIFY(!peer->acceptWebSocket().isEmpty());
                QVERIFY(app.becomes(SessionStatus::running));
                app.stream().deliver(QByteArray(1920, '\0'));
                breakWith(fault, *peer);
            }
        }
        QVERIFY(app.becomes(SessionStatus::failed));
        QCOMPARE(app.state->errorMessage(), std::optional(message));
        QVERIFY(!app.state->capturePermissionRecoveryVisible());
        settle(); // The close of what is left is over before anybody can start again.
        QCOMPARE(app.capture->steps->stop.calls(), app.capture->steps->start.calls());

        QVERIFY(app.server.isListening() || app.server.listen(QHostAddress::LocalHost, port));
        Peer* const next = app.call();
        QVERIFY(next && !next->acceptWebSocket().isEmpty());
        QVERIFY(app.becomes(SessionStatus::running));
        QCOMPARE(app.state->errorMessage(), std::nullopt);
    }

private:
    static void breakWith(const QString& fault, Peer& peer)
    {
        if (fault == u"killed"_s) {
            peer.reset();
        } else if (fault == u"ends"_s) {
            peer.finish();
        } else if (fault == u"restarts"_s) {
            peer.write(serverFrame(0x88, closePayload(1012)));
        } else if (fault == u"nonsense"_s) {
            peer.write("220 mail.example ready\r\n");
        }
    }
};

QTEST_GUILESS_MAIN(AppStateNetworkTest)
#include "AppStateNetworkTest.moc"
