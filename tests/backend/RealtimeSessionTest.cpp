#include "backend/BackendRealtimeClient.h"
#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"
#include "support/TestCertificate.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace quorvel;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QStringList loggedLines; // what the program wrote while the tests ran

void keepLogged(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& line)
{
    loggedLines += line;
}

/// The JSON of a text frame, which must be compact.
QJsonObject control(const std::optional<ClientFrame>& frame)
{
    if (!frame || frame->opcode != 1) {
        return {};
    }
    const QJsonDocument document = QJsonDocument::fromJson(frame->payload);
    return document.toJson(QJsonDocument::Compact) == frame->payload ? document.object() : QJsonObject();
}

MeetingContext context()
{
    MeetingContext value = MeetingContext::defaults();
    value.resumeSummary = u"Ten years of \"C++\"\n"_s;
    value.jobDescription = u"Entwickler für Ton 🎧"_s;
    value.sessionMode = SessionMode::technical;
    value.keyterms = QStringList{u"b"_s, u"a"_s};
    return value;
}

const QJsonObject contextPayload{
    {u"userRole"_s, u"Candidate"_s},
    {u"meetingGoal"_s, QString(u""_s)},
    {u"tone"_s, u"Senior engineer - concise, confident, plain English"_s},
    {u"resumeSummary"_s, u"Ten years of \"C++\"\n"_s},
    {u"jobDescription"_s, u"Entwickler für Ton 🎧"_s},
    {u"sessionMode"_s, u"Technical"_s},
    {u"keyterms"_s, QJsonArray{u"b"_s, u"a"_s}},
};

CaptureSource source()
{
    CaptureSource value;
    value.id = u"window-42"_s;
    value.kind = CaptureSourceKind::browser;
    value.title = u"Meet – 1:1"_s;
    value.applicationName = u"Chromium"_s;
    return value;
}

} // namespace

class RealtimeSessionTest : public QObject
{
    Q_OBJECT

private:
    static platform::NetworkLimits limits()
    {
        platform::NetworkLimits value;
        value.closingTime = 5s;
        return value;
    }

    /// A client, its server, and what its owner hears.
    struct Setting
    {
        explicit Setting(platform::NetworkLimits networkLimits = limits(),
                         std::optional<QSslConfiguration> tls = std::nullopt)
            : server(std::move(tls))
            , client(BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(networkLimits),
                                                   server.url(server.isEncrypted() ? u"https"_s : u"http"_s, {})))
        {
            client->accessToken = u"s3cret-token"_s;
            client->onEvent = [this](const BackendRealtimeEvent& event) { events.push_back(event); };
            client->onDisconnect = [this](const std::optional<QString>& why) { disconnects += why.value_or(u"-"_s); };
        }

        [[nodiscard]] Peer* connect()
        {
            const auto outcome = await(client->connect());
            Peer* peer = outcome && *outcome ? server.nextPeer() : nullptr;
            return peer != nullptr && !peer->acceptWebSocket().isEmpty() ? peer : nullptr;
        }
        [[nodiscard]] bool hears(const QString& sentence)
        {
            return waitUntil([this] { return !disconnects.isEmpty(); }) && disconnects == QStringList{sentence};
        }

        LoopbackServer server;
        std::shared_ptr<BackendRealtimeClient> client;
        std::vector<BackendRealtimeEvent> events;
        QStringList disconnects;
    };

private Q_SLOTS:
    void initTestCase() { qInstallMessageHandler(keepLogged); }
    void cleanup() { QVERIFY2(!loggedLines.join(u'\n').contains(u"s3cret"_s), "the token was logged"); }
    void cleanupTestCase() { qInstallMessageHandler(nullptr); }

    void addsTheTokenToTheAddress_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<QByteArray>("target");
        QTest::newRow("none") << QString() << QByteArray("/ws/realtime");
        QTest::newRow("plain") << u"abc"_s << QByteArray("/ws/realtime?token=abc");
        QTest::newRow("reserved") << u"a+b/c=d&e#f?g %h"_s
                                  << QByteArray("/ws/realtime?token=a%2Bb%2Fc%3Dd%26e%23f%3Fg%20%25h");
        QTest::newRow("other scripts") << u"é😀"_s << QByteArray("/ws/realtime?token=%C3%A9%F0%9F%98%80");
        QTest::newRow("looks encoded") << u"%41"_s << QByteArray("/ws/realtime?token=%2541");
        QTest::newRow("line break") << u"a\r\nX: y"_s << QByteArray("/ws/realtime?token=a%0D%0AX%3A%20y");
    }
    void addsTheTokenToTheAddress()
    {
        QFETCH(const QString, token);
        QFETCH(const QByteArray, target);
        Setting setting;
        setting.client->accessToken = token.isNull() ? std::nullopt : std::optional(token);
        QVERIFY(await(setting.client->connect()).value().has_value());
        Peer* peer = setting.server.nextPeer();
        QVERIFY(peer);
        const QByteArray head = peer->takeHead();
        QCOMPARE(head.left(head.indexOf('\r')), "GET " + target + " HTTP/1.1");
    }

    void aWholeSession()
    {
        Setting setting;
        QVERIFY(await(setting.client->connect()).value().has_value());
        // Sent before the handshake, as its owner does.
        const auto started = watch(setting.client->start(context(), source()));
        Peer* peer = setting.server.nextPeer();
        QVERIFY(peer && !peer->acceptWebSocket().isEmpty());
        QCOMPARE(control(peer->takeFrame()),
                 (QJsonObject{
                     {u"type"_s, u"session.start"_s},
                     {u"context"_s, contextPayload},
                     {u"source"_s, QJsonObject{{u"id"_s, u"window-42"_s},
                                               {u"kind"_s, u"Browser"_s},
                                               {u"title"_s, u"Meet – 1:1"_s},
                                               {u"applicationName"_s, u"Chromium"_s}}},
                     {u"audio"_s, QJsonObject{{u"format"_s, u"pcm16"_s}, {u"sampleRate"_s, 24000}, {u"channels"_s, 1}}},
                 }));
        QVERIFY(waitUntil([&] { return started->has_value(); }));
        QVERIFY(started->value().has_value());

        QVERIFY(await(setting.client->sendAudio({})).value().has_value());
        const QByteArray chunk("\x00\x01\xff\x7f", 4);
        QVERIFY(await(setting.client->sendAudio(chunk)).value().has_value());
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 2, .payload = chunk}));
        QVERIFY(await(setting.client->updateContext(context())).value().has_value());
        QCOMPARE(control(peer->takeFrame()),
                 (QJsonObject{{u"type"_s, u"context.update"_s}, {u"context"_s, contextPayload}}));

        const QByteArray last = R"({"type":"transcript.final","text":"last"})";
        peer->write(textFrame(R"({"type":"transcript.delta","partial":"par"})") + textFrame("[1]") + textFrame("no") +
                    textFrame(R"({"type":"ping"})") + serverFrame(0x82, "\xff") + serverFrame(0x82, last));
        QVERIFY(waitUntil([&] { return setting.events.size() == 2; }));
        QVERIFY(setting.events[0] == BackendRealtimeEvent(realtime::TranscriptDelta{.text = {}, .partial = u"par"_s}));
        QVERIFY(setting.events[1] == BackendRealtimeEvent(realtime::TranscriptFinal{.text = u"last"_s}));

        launch(setting.client->stop());
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 1, .payload = R"({"type":"session.stop"})"}));
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1001)}));
        QVERIFY(setting.hears(u"The operation was cancelled."_s));
    }

    void tenThousandChunksInOrder()
    {
        Setting setting;
        Peer* peer = setting.connect();
        QVERIFY(peer);
        QByteArray expected;
        std::vector<Outcome<Result<>>> sends;
        for (int number = 0; number < 10'000; ++number) {
            QByteArray chunk(100, static_cast<char>(number));
            chunk.prepend(QByteArray::number(number));
            expected += chunk;
            sends.push_back(watch(setting.client->sendAudio(chunk)));
        }
        QByteArray received;
        for (int number = 0; number < 10'000; ++number) {
            const auto frame = peer->takeFrame();
            QVERIFY(frame.has_value());
            const auto [opcode, payload] = frame.value_or(test::ClientFrame{});
            QCOMPARE(opcode, 2);
            received += payload;
        }
        QVERIFY(received == expected);
        QVERIFY(waitUntil([&] {
            return std::ranges::all_of(sends, [](const auto& send) { return send->has_value() && send->value(); });
        }));
    }

    void withoutAConnectionNothingIsSent()
    {
        Setting setting;
        QVERIFY(await(setting.client->start(context(), source())).value().has_value());
        QVERIFY(await(setting.client->sendAudio("1234")).value().has_value());
        launch(setting.client->stop());
        setting.client->disconnect();
        settle();
        QCOMPARE(setting.server.connectionCount(), std::size_t{0});
        QVERIFY(setting.disconnects.isEmpty());
    }

    void connectingAgainClosesTheFirst()
    {
        Setting setting;
        Peer* first = setting.connect();
        QVERIFY(first);
        first->write(textFrame(R"({"type":"error"})"));
        QVERIFY(waitUntil([&] { return setting.events.size() == 1; }));
        Peer* second = setting.connect();
        QVERIFY(second);
        QCOMPARE(first->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1001)}));
        QVERIFY(setting.hears(u"The operation was cancelled."_s));
        first->write(textFrame(R"({"type":"error"})"));
        second->write(textFrame(R"({"type":"transcript.final"})"));
        QVERIFY(waitUntil([&] { return setting.events.size() == 2; }));
        QVERIFY(setting.events[1] == BackendRealtimeEvent(realtime::TranscriptFinal{}));
    }

    /// The owner of the connection may go while it waits.
    void theClientsEndIsNotTheConnections()
    {
        Setting setting;
        Peer* peer = setting.connect();
        QVERIFY(peer);
        setting.client.reset();
        peer->write(textFrame(R"({"type":"error"})"));
        settle();
        QVERIFY(setting.events.empty() && setting.disconnects.isEmpty());
    }

    void anInvalidAddress()
    {
        const auto client =
            BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), QUrl(u"https://"_s));
        QCOMPARE(sentenceOf(await(client->connect())), u"Backend returned an invalid response."_s);
    }

    void refusedAndUnknown_data()
    {
        QTest::addColumn<QUrl>("origin");
        QTest::addColumn<QString>("sentence");
        QUrl refused;
        {
            const LoopbackServer gone;
            refused = gone.url(u"http"_s, {});
        }
        QTest::newRow("refused") << refused << u"The server refused the connection."_s;
        QTest::newRow("refused, secure") << QUrl(u"https://127.0.0.1:%1"_s.arg(refused.port()))
                                         << u"The server refused the connection."_s;
        QTest::newRow("unknown host") << QUrl(u"https://backend.invalid"_s) << u"The server could not be found."_s;
    }
    void refusedAndUnknown()
    {
        QFETCH(const QUrl, origin);
        QFETCH(const QString, sentence);
        const auto client = BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), origin);
        client->accessToken = u"s3cret-token"_s;
        QStringList disconnects;
        client->onDisconnect = [&disconnects](const std::optional<QString>& why) {
            disconnects += why.value_or(u"-"_s);
        };
        QVERIFY(await(client->connect()).value().has_value());
        const auto started = watch(client->start(context(), source()));
        QVERIFY(waitUntil([&] { return !disconnects.isEmpty() && started->has_value(); }));
        QCOMPARE(disconnects, QStringList{sentence});
        QCOMPARE(sentenceOf(*started), sentence);
        QCOMPARE(sentenceOf(await(client->sendAudio("1234"))), sentence);
    }

    void faults_data()
    {
        QTest::addColumn<QByteArray>("handshake");
        QTest::addColumn<QByteArray>("frames");
        QTest::addColumn<QString>("sentence");
        const QByteArray none;
        const auto refusal = [](int status) {
            return "HTTP/1.1 " + QByteArray::number(status) + " s3cret-token\r\nContent-Length: 0\r\n\r\n";
        };
        const QString notUnderstood = u"The server sent something that cannot be understood."_s;
        const QString tooLarge = u"The server sent a message that is too large."_s;
        QTest::newRow("401") << refusal(401) << none << u"The server does not accept the sign-in. Sign in again."_s;
        QTest::newRow("403") << refusal(403) << none << u"The server does not give this account access."_s;
        QTest::newRow("500") << refusal(500) << none << u"The server had a problem (status 500). Try again later."_s;
        QTest::newRow("close with reason")
            << none << serverFrame(0x88, closePayload(4000, "Too many sessions"))
            << u"The server closed the connection (code 4000). It said: “Too many sessions”."_s;
        QTest::newRow("close with the token")
            << none << serverFrame(0x88, closePayload(1008, "Unknown token s3cret-token"))
            << u"The server closed the connection because its rules were not met."_s;
        QTest::newRow("reset in mid-frame")
            << none << textFrame(R"({"type":"error"})").first(9) << u"The connection to the server was lost."_s;
        QTest::newRow("silent for ever") << none << none << u"The connection to the server was lost."_s;
        QTest::newRow("above the limit") << none << textFrame(QByteArray((1 << 20) + 1, ' ')) << tooLarge;
        QTest::newRow("ten megabytes of garbage") << none << QByteArray(10'000'000, '\x5a') << notUnderstood;
        QTest::newRow("no UTF-8") << none << textFrame("{\"type\":\"error\xff\"}") << notUnderstood;
    }
    void faults()
    {
        QFETCH(const QByteArray, handshake);
        QFETCH(const QByteArray, frames);
        QFETCH(const QString, sentence);
        platform::NetworkLimits networkLimits = limits();
        const bool isReset = !frames.isEmpty() && frames.size() < 10;
        if (frames.isEmpty() && handshake.isEmpty()) {
            networkLimits.pingInterval = 20ms;
            networkLimits.pongTimeout = 20ms;
        }
        Setting setting(networkLimits);
        QVERIFY(await(setting.client->connect()).value().has_value());
        Peer* peer = setting.server.nextPeer();
        QVERIFY(peer);
        const QByteArray head = peer->takeHead();
        peer->write((handshake.isEmpty() ? Peer::upgradeResponse(head) : handshake) + frames);
        if (isReset) {
            const auto opened = watch(setting.client->start(context(), source()));
            QVERIFY(waitUntil([&] { return opened->has_value(); }));
            peer->reset();
        }
        QVERIFY(waitUntil([&] { return !setting.disconnects.isEmpty(); }));
        QCOMPARE(setting.disconnects, QStringList{sentence});
        QCOMPARE(sentenceOf(await(setting.client->sendAudio("1234"))), sentence);

        Peer* next = setting.connect();
        QVERIFY(next);
        next->write(textFrame(R"({"type":"transcript.final"})"));
        QVERIFY(waitUntil([&] { return !setting.events.empty(); }));
        setting.client->disconnect();
    }

    void anUntrustedCertificate()
    {
        const auto tls = makeTestCertificate(u"IP:127.0.0.1"_s);
        QVERIFY(tls);
        Setting setting(limits(), tls);
        QVERIFY(await(setting.client->connect()).value().has_value());
        QVERIFY(setting.hears(u"The server's certificate is not trusted."_s));
        Peer* peer = setting.server.nextPeer();
        QVERIFY(peer && peer->received.isEmpty());
    }
};

QTEST_GUILESS_MAIN(RealtimeSessionTest)
#include "RealtimeSessionTest.moc"
