#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"
#include "support/TestCertificate.h"

#include <QTest>

using namespace quorvel;
using namespace quorvel::platform;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

WebSocketMessage text(const QByteArray& content)
{
    return {.kind = WebSocketMessage::Kind::text, .data = content};
}

WebSocketMessage binary(const QByteArray& content)
{
    return {.kind = WebSocketMessage::Kind::binary, .data = content};
}

class RecordingDelegate final : public WebSocketDelegate
{
public:
    void webSocketDidOpen() override { events += u"open"_s; }
    void webSocketDidClose(WebSocketCloseCode code, std::optional<QByteArray> reason) override
    {
        events += u"close %1 %2"_s.arg(static_cast<int>(code)).arg(QString::fromUtf8(reason.value_or("-")));
    }

    QStringList events;
};

} // namespace

class WebSocketTaskTest : public QObject
{
    Q_OBJECT

private:
    /// A session, a server and an open connection between them.
    struct Open
    {
        explicit Open(NetworkLimits limits = {}, std::optional<QSslConfiguration> tls = std::nullopt)
            : session(std::make_unique<QtUrlSession>(limits))
            , server(std::move(tls))
            , task(session->webSocketTask(
                  server.url(server.isEncrypted() ? u"wss"_s : u"ws"_s, u"/ws/realtime?token=s3cret"_s), delegate))
            , peer(openTask())
        {
        }

        Peer* openTask()
        {
            task->resume();
            Peer* const accepted = server.nextPeer();
            isOpen = accepted != nullptr && !accepted->acceptWebSocket().isEmpty() &&
                     waitUntil([this] { return !delegate->events.isEmpty(); }) && delegate->events.front() == "open"_L1;
            return accepted;
        }

        std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
        std::unique_ptr<QtUrlSession> session;
        LoopbackServer server;
        std::shared_ptr<WebSocketTask> task;
        bool isOpen = false;
        Peer* peer;
    };

private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setApplicationName(u"Quorvel"_s);
        QCoreApplication::setApplicationVersion(u"1.2"_s);
    }

    void sendsExactlyTheHandshake()
    {
        QtUrlSession session;
        LoopbackServer server;
        const auto task = session.webSocketTask(server.url(u"ws"_s, u"/ws/real%20time?token=a%26b%2Bc"_s), {});
        settle();
        QCOMPARE(server.connectionCount(), std::size_t{0});
        task->resume();
        Peer* peer = server.nextPeer();
        QVERIFY(peer);
        QByteArray head = peer->takeHead();
        const QByteArray keyName = "Sec-WebSocket-Key: ";
        const qsizetype key = head.indexOf(keyName) + keyName.size();
        QCOMPARE(QByteArray::fromBase64(head.mid(key, 24)).size(), 16);
        head.replace(key, 24, "key");
        QCOMPARE(head, "GET /ws/real%20time?token=a%26b%2Bc HTTP/1.1\r\nHost: 127.0.0.1:" +
                           QByteArray::number(server.serverPort()) +
                           "\r\nUpgrade: websocket\r\nConnection: upgrade\r\nSec-WebSocket-Key: key\r\n"
                           "Sec-WebSocket-Version: 13\r\nUser-Agent: Quorvel/1.2\r\n\r\n");
    }

    void sendsInOrderWhatWaitedForTheHandshake()
    {
        QtUrlSession session;
        LoopbackServer server;
        const auto task = session.webSocketTask(server.url(u"ws"_s, u"/"_s), {});
        task->resume();
        const auto first = watch(task->send(text("{\"a\":\"ü\"}")));
        const auto second = watch(task->send(binary(QByteArray("\x00\xff", 2))));
        const auto third = watch(task->send(binary(QByteArray(70000, 'x'))));
        Peer* peer = server.nextPeer();
        QVERIFY(peer);
        const QByteArray head = peer->takeHead();
        settle();
        QVERIFY(!first->has_value() && peer->received.isEmpty());
        peer->write(Peer::upgradeResponse(head));
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 1, .payload = "{\"a\":\"ü\"}"}));
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 2, .payload = QByteArray("\x00\xff", 2)}));
        QCOMPARE(peer->takeFrame(), (ClientFrame{.opcode = 2, .payload = QByteArray(70000, 'x')}));
        QVERIFY(waitUntil([&] { return third->has_value(); }));
        QVERIFY(first->value().has_value() && second->value().has_value() && third->value().has_value());
    }

    void receivesInOrder()
    {
        Open open;
        QVERIFY(open.isOpen);
        const auto waiting = watch(open.task->receive());
        settle();
        QVERIFY(!waiting->has_value());
        // A message in pieces, with a ping between them and a character cut in two.
        open.peer->write(serverFrame(0x01, "5\xe2\x82") + serverFrame(0x89, "here?") + serverFrame(0x80, "\xac") +
                         serverFrame(0x82, "\xff") + textFrame("") + textFrame("last"));
        QVERIFY(waitUntil([&] { return waiting->has_value(); }));
        QCOMPARE(waiting->value()->data, "5€");
        QVERIFY(waiting->value()->kind == WebSocketMessage::Kind::text);
        const auto second = await(open.task->receive());
        QVERIFY(second && *second && (*second)->kind == WebSocketMessage::Kind::binary);
        QCOMPARE((*second)->data, "\xff");
        QCOMPARE(await(open.task->receive()).value()->data, "");
        QCOMPARE(await(open.task->receive()).value()->data, "last");
        QCOMPARE(open.peer->takeFrame(), (ClientFrame{.opcode = 10, .payload = "here?"}));
    }

    /// What arrived before the end is still handed out; then every call fails with the reason.
    void endsAfterWhatHasArrived()
    {
        Open open;
        QVERIFY(open.isOpen);
        open.peer->write(textFrame("bye") + serverFrame(0x88, closePayload(1011, "no disk")));
        QCOMPARE(open.peer->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1011)}));
        QVERIFY(waitUntil([&] { return open.delegate->events.size() == 2; }));
        QCOMPARE(open.delegate->events.back(), u"close 1011 no disk"_s);
        QCOMPARE(await(open.task->receive()).value()->data, "bye");
        const QString sentence = u"The server had an internal error and closed the connection. It said: “no disk”."_s;
        QCOMPARE(sentenceOf(await(open.task->receive())), sentence);
        QCOMPARE(sentenceOf(await(open.task->receive())), sentence);
        QCOMPARE(sentenceOf(await(open.task->send(text("?")))), sentence);
        open.peer->finish();
        QVERIFY(waitUntil([&] { return open.peer->isGone; }));
    }

    void cancelSendsACloseFrame_data()
    {
        QTest::addColumn<bool>("sessionGoesToo");
        QTest::addColumn<bool>("unreadArrived");
        QTest::newRow("alone") << false << false;
        QTest::newRow("with its session") << true << false;
        QTest::newRow("with unread messages") << true << true;
    }
    void cancelSendsACloseFrame()
    {
        QFETCH(const bool, sessionGoesToo);
        QFETCH(const bool, unreadArrived);
        Open open;
        QVERIFY(open.isOpen);
        const auto receiving = watch(open.task->receive());
        const auto sent = watch(open.task->send(text("last words")));
        if (unreadArrived) {
            open.peer->write(textFrame("unread"));
        }
        open.task->cancel(WebSocketCloseCode::goingAway, {});
        if (sessionGoesToo) {
            open.task.reset();
            open.session.reset();
        }
        QCOMPARE(open.peer->takeFrame(), (ClientFrame{.opcode = 1, .payload = "last words"}));
        QCOMPARE(open.peer->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1001)}));
        QVERIFY(waitUntil([&] { return receiving->has_value(); }));
        QVERIFY(receiving->value().error().code == errorCode(PlatformError::cancelled));
        QCOMPARE(open.delegate->events.back(), u"close 1001 "_s);
        open.peer->write(serverFrame(0x88, closePayload(1001)));
        open.peer->finish();
        QVERIFY(waitUntil([&] { return open.peer->isGone; }));
    }

    /// Both have said goodbye, but the server has not closed yet.
    void theSessionGoesWhileAConnectionCloses()
    {
        Open open;
        QVERIFY(open.isOpen);
        open.peer->write(serverFrame(0x88, closePayload(1000)));
        QVERIFY(waitUntil([&] { return open.delegate->events.size() == 2; }));
        open.session.reset();
        open.task.reset();
        QVERIFY(waitUntil([&] { return open.peer->isGone; }));
    }

    void cancelDoesNotWaitForAServerThatKeepsSilent()
    {
        Open open({.closingTime = 20ms});
        QVERIFY(open.isOpen);
        open.task->cancel(WebSocketCloseCode::normalClosure, "done");
        QCOMPARE(open.peer->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1000, "done")}));
        QVERIFY(waitUntil([&] { return open.peer->isGone; }));
    }

    void cancelBeforeTheHandshakeIsDone()
    {
        auto session = std::make_unique<QtUrlSession>();
        LoopbackServer server;
        const auto task = session->webSocketTask(server.url(u"ws"_s, u"/"_s), {});
        task->resume();
        const auto sending = watch(task->send(text("never")));
        Peer* peer = server.nextPeer();
        QVERIFY(peer && !peer->takeHead().isEmpty());
        task->cancel(WebSocketCloseCode::goingAway, {});
        QVERIFY(waitUntil([&] { return peer->isGone && sending->has_value(); }));
        QVERIFY(peer->received.isEmpty());
        QVERIFY(sending->value().error().code == errorCode(PlatformError::cancelled));
    }

    /// Its owner may let go of a connection; it ends with the session.
    void aRunningConnectionIsKept()
    {
        Open open;
        QVERIFY(open.isOpen);
        open.task.reset();
        settle();
        QVERIFY(!open.peer->isGone);
        open.session.reset();
        QCOMPARE(open.peer->takeFrame(), (ClientFrame{.opcode = 8, .payload = closePayload(1001)}));
    }

    /// Plain or encrypted, a send has left only when the network took it, and the queue is bounded.
    void failsWhenTooMuchWaits_data()
    {
        QTest::addColumn<bool>("isEncrypted");
        QTest::newRow("plain") << false;
        QTest::newRow("encrypted") << true;
    }
    void failsWhenTooMuchWaits()
    {
        QFETCH(const bool, isEncrypted);
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        const auto restore = qScopeGuard([&before] { QSslConfiguration::setDefaultConfiguration(before); });
        std::optional<QSslConfiguration> tls;
        if (isEncrypted) {
            tls = makeTestCertificate(u"IP:127.0.0.1"_s);
            const QSslCertificate certificate = tls ? tls->localCertificate() : QSslCertificate();
            QVERIFY(!certificate.isNull());
            QSslConfiguration trusting = before;
            trusting.addCaCertificate(certificate);
            QSslConfiguration::setDefaultConfiguration(trusting);
        }
        Open open({}, tls);
        QVERIFY(open.isOpen);
        open.peer->stopReading();
        const auto receiving = watch(open.task->receive());

        // The kernels' buffers on both sides take what they can, 8 MB and more; when nothing moves, what waits is ours.
        const QByteArray second(48000, 's');
        std::vector<Outcome<Result<>>> sends;
        const auto waiting = [&sends] {
            return std::ranges::count_if(sends, [](const auto& send) { return !send->has_value(); });
        };
        while (waiting() < 30 && sends.size() < 2000) {
            sends.push_back(watch(open.task->send(binary(second))));
            settle();
        }
        QCOMPARE(waiting(), 30);
        QVERIFY(!receiving->has_value());
        const auto oneTooMany = watch(open.task->send(binary("x")));
        QVERIFY(waitUntil([&] { return waiting() == 0 && receiving->has_value() && oneTooMany->has_value(); }));
        const QString sentence = u"The connection is too slow: 30 seconds of sound are waiting to be sent."_s;
        QCOMPARE(sentenceOf(*oneTooMany), sentence);
        QCOMPARE(sentenceOf(*receiving), sentence);
        QCOMPARE(sentenceOf(*sends.back()), sentence);
        QVERIFY(sends.front()->value().has_value());
    }

    void asksASilentPeer()
    {
        Open open({.pingInterval = 30ms, .pongTimeout = 2s});
        QVERIFY(open.isOpen);
        // A pong keeps it alive, three times over.
        for (int round = 0; round < 3; ++round) {
            const auto ping = open.peer->takeFrame();
            QCOMPARE(ping, (ClientFrame{.opcode = 9, .payload = {}}));
            open.peer->write(serverFrame(0x8A, ping.value_or(ClientFrame{}).payload));
        }
        QCOMPARE(open.delegate->events.size(), 1);
    }

    /// A server that talks is alive, even while its answer to the ping is stuck behind a long message.
    void aTalkingPeerIsNotSilent()
    {
        Open open({.pingInterval = 1ms, .pongTimeout = 400ms});
        QVERIFY(open.isOpen);
        const auto receiving = watch(open.task->receive());
        open.peer->write(serverFrame(0x82, QByteArray(60, 'x')).first(4));
        int rounds = 0;
        QTimer trickle;
        connect(&trickle, &QTimer::timeout, this, [&] {
            open.peer->write("x");
            ++rounds;
        });
        trickle.start(20ms);
        QVERIFY(waitUntil([&] { return rounds == 50 || receiving->has_value(); }));
        QVERIFY(!receiving->has_value());
    }

    void stopsReadingWhileNobodyReceives()
    {
        Open open({.pingInterval = 1ms, .pongTimeout = 100ms, .unreadBytes = 100'000});
        QVERIFY(open.isOpen);
        const QByteArray message(1000, 'm');
        const QByteArray flood = textFrame(message).repeated(20'000);
        open.peer->write(flood);
        settle();
        // Far more than the kernels' buffers take is still with the server, and its silence is our own doing.
        QVERIFY(open.peer->bytesToWrite() > 1'000'000);
        QVERIFY(!waitUntil([&] { return open.delegate->events.size() > 1; }, 300ms));
        int received = 0;
        while (received < 20'000) {
            const auto next = await(open.task->receive());
            QVERIFY(next && *next && (*next)->data == message);
            ++received;
        }
        // Reading again, it asks for signs of life again.
        QCOMPARE(sentenceOf(await(open.task->receive())), u"The connection to the server was lost."_s);
    }

    void oneMebibyteIsTheLimit_data()
    {
        QTest::addColumn<QByteArray>("frames");
        QTest::addColumn<bool>("isAccepted");
        const QByteArray half(qsizetype{512} * 1024, 'h');
        QTest::newRow("exactly") << serverFrame(0x82, half + half) << true;
        QTest::newRow("exactly, in pieces") << serverFrame(0x02, half) + serverFrame(0x80, half) << true;
        QTest::newRow("one more") << serverFrame(0x82, half + half + "x") << false;
        QTest::newRow("one more, in pieces") << serverFrame(0x02, half) + serverFrame(0x80, half + "x") << false;
        QTest::newRow("only announced") << serverFrame(0x82, half + half + "x").first(10) << false;
        QTest::newRow("2^62 announced") << QByteArray::fromHex("827f4000000000000000") << false;
    }
    void oneMebibyteIsTheLimit()
    {
        QFETCH(const QByteArray, frames);
        QFETCH(const bool, isAccepted);
        Open open;
        QVERIFY(open.isOpen);
        open.peer->write(frames);
        const auto received = await(open.task->receive());
        QVERIFY(received);
        QCOMPARE(received->has_value(), isAccepted);
        if (!isAccepted) {
            QCOMPARE(sentenceOf(received), u"The server sent a message that is too large."_s);
            const ClientFrame close = open.peer->takeFrame().value_or(ClientFrame{});
            QCOMPARE(close.opcode, 8);
            QCOMPARE(close.payload.first(2), closePayload(1009));
            QCOMPARE(open.delegate->events.back(), u"close 1009 -"_s);
        }
    }

    void goesThroughTheDesktopsProxy()
    {
        LoopbackServer proxy;
        qputenv("http_proxy", proxy.url(u"http"_s, {}).toEncoded());
        const auto restore = qScopeGuard([] { qunsetenv("http_proxy"); });
        const auto delegate = std::make_shared<RecordingDelegate>();
        QtUrlSession session;
        const auto task = session.webSocketTask(QUrl(u"ws://backend.invalid/ws?token=s3cret"_s), delegate);
        task->resume();
        Peer* peer = proxy.nextPeer();
        QVERIFY(peer);
        const QByteArray tunnel = peer->takeHead();
        QVERIFY(tunnel.startsWith("CONNECT backend.invalid:80 HTTP/1.1\r\n") && !tunnel.contains("s3cret"));
        peer->write("HTTP/1.1 200 Connection established\r\n\r\n");
        QVERIFY(peer->acceptWebSocket().startsWith("GET /ws?token=s3cret HTTP/1.1\r\nHost: backend.invalid\r\n"));
        QVERIFY(waitUntil([&] { return !delegate->events.isEmpty(); }));
    }
};

QTEST_GUILESS_MAIN(WebSocketTaskTest)
#include "WebSocketTaskTest.moc"
