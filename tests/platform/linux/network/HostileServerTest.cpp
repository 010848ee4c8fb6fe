#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"

#include <QTest>

using namespace quorvel;
using namespace quorvel::platform;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString notUnderstood = u"The server sent something that cannot be understood."_s;
const QString lost = u"The connection to the server was lost."_s;
const QString notAsItShould = u"The server did not answer as it should."_s;
const QString closedBeforeOpen = u"The server closed the connection before it was open."_s;

/// What a server says to the opening handshake, with `@` for the right accept key.
QByteArray upgrade(const QByteArray& headers)
{
    return "HTTP/1.1 101 Switching Protocols\r\n" + headers + "\r\n";
}

} // namespace

class HostileServerTest : public QObject
{
    Q_OBJECT

private:
    /// Receives once from a server that answers the handshake like this, rightly without an answer, and then sends
    /// these frames; what came of it.
    static QString converse(QtUrlSession& session, const std::optional<QByteArray>& handshake, const QByteArray& frames,
                            bool closes)
    {
        LoopbackServer server;
        const auto task = session.webSocketTask(server.url(u"ws"_s, u"/ws?token=s3cret"_s), {});
        task->resume();
        Peer* peer = server.nextPeer();
        const QByteArray head = peer == nullptr ? QByteArray() : peer->takeHead();
        if (head.isEmpty()) {
            return u"(no handshake)"_s;
        }
        const QByteArray accepted = Peer::upgradeResponse(head);
        const qsizetype key = accepted.lastIndexOf(": ") + 2;
        QByteArray answer = handshake.value_or(accepted);
        answer.replace("@", accepted.mid(key).trimmed());
        peer->write(answer + frames);
        if (closes) {
            peer->finish();
        }
        const auto received = await(task->receive());
        if (received && *received) {
            return u"message: "_s + QString::fromUtf8((*received)->data);
        }
        // The client leaves the connection, too.
        if (!closes) {
            peer->finish();
        }
        return waitUntil([peer] { return peer->isGone; }) ? sentenceOf(received) : u"(does not leave)"_s;
    }

private Q_SLOTS:
    void frames_data()
    {
        QTest::addColumn<QByteArray>("frames");
        QTest::addColumn<QString>("outcome");
        const auto row = [](const char* name, const QByteArray& frames, const QString& outcome) {
            QTest::newRow(name) << frames << outcome;
        };
        const auto close = [](int code, const QByteArray& reason = {}) {
            return serverFrame(0x88, closePayload(code, reason));
        };
        const QString closed = u"The server closed the connection."_s;

        row("reserved bit 1", serverFrame(0xC1, "{}"), notUnderstood);
        row("reserved bit 2", serverFrame(0xA1, "{}"), notUnderstood);
        row("reserved bit 3", serverFrame(0x91, "{}"), notUnderstood);
        row("reserved bit on a ping", serverFrame(0xC9, ""), notUnderstood);
        for (const int opcode : {0x3, 0x7, 0xB, 0xF}) {
            row(qPrintable(u"unknown opcode %1"_s.arg(opcode)), serverFrame(static_cast<quint8>(0x80 | opcode), "{}"),
                notUnderstood);
        }
        row("masked", QByteArray("\x81\x82\0\0\0\0{}", 8), notUnderstood);
        row("fragmented ping", serverFrame(0x09, "hi"), notUnderstood);
        row("fragmented close", serverFrame(0x08, closePayload(1000)), notUnderstood);
        row("oversized ping", serverFrame(0x89, QByteArray(126, 'x')), notUnderstood);
        row("oversized close", serverFrame(0x88, closePayload(1000, QByteArray(124, 'x'))), notUnderstood);
        row("continuation of nothing", serverFrame(0x80, "{}"), notUnderstood);
        row("interleaved text", serverFrame(0x01, "{") + serverFrame(0x81, "{}"), notUnderstood);
        row("interleaved binary", serverFrame(0x01, "{") + serverFrame(0x02, "}"), notUnderstood);
        row("text that is no UTF-8", textFrame("\xff\xfe"), notUnderstood);
        row("text with a surrogate", textFrame("\xed\xa0\x80"), notUnderstood);
        row("text with an overlong form", textFrame("\xc0\xaf"), notUnderstood);
        row("text beyond Unicode", textFrame("\xf4\x90\x80\x80"), notUnderstood);
        row("text cut in a character", textFrame("\xe2\x82"), notUnderstood);
        row("no UTF-8 in the second piece", serverFrame(0x01, "ok") + serverFrame(0x80, "\xff"), notUnderstood);
        row("close with half a code", serverFrame(0x88, "\x03"), notUnderstood);
        row("close reason that is no UTF-8", close(1000, "\xff"), notUnderstood);
        for (const int code : {0, 999, 1004, 1005, 1006, 1015, 1016, 2999}) {
            row(qPrintable(u"close code %1"_s.arg(code)), close(code), notUnderstood);
        }
        row("length not in its shortest form", QByteArray::fromHex("817e00027b7d"), notUnderstood);
        row("long length not in its shortest form", QByteArray::fromHex("817f00000000000000027b7d"), notUnderstood);
        row("negative length", QByteArray::fromHex("827fffffffffffffffff"),
            u"The server sent a message that is too large."_s);
        row("a length that lies", QByteArray::fromHex("817e00ff7b7d"), lost);
        row("ten megabytes of garbage", QByteArray("\xb7\x5a\x03\xee", 4).repeated(2'500'000), notUnderstood);
        row("nothing", "", lost);
        row("half a frame's head", "\x81", lost);
        row("message after its close", close(1000) + textFrame("late"), closed);
        row("close without a code", serverFrame(0x88, ""), closed);
        row("close for a restart", close(1012), u"The server is restarting. Try again in a moment."_s);
        row("close with a code of its own", close(4999, "go"),
            u"The server closed the connection (code 4999). It said: “go”."_s);
        row("close with the token in it", close(1008, "bad token s3cret"),
            u"The server closed the connection because its rules were not met."_s);

        // What is odd, but right, goes through.
        row("unasked pong", serverFrame(0x8A, "?") + textFrame("ok"), u"message: ok"_s);
        row("empty pieces", serverFrame(0x01, "") + serverFrame(0x00, "") + serverFrame(0x80, ""), u"message: "_s);
        row("a ping between pieces",
            serverFrame(0x01, "a") + serverFrame(0x89, QByteArray(125, 'p')) + serverFrame(0x80, "b"),
            u"message: ab"_s);
        row("a character in four pieces",
            serverFrame(0x01, "\xf0") + serverFrame(0x00, "\x9f") + serverFrame(0x00, "\x98") +
                serverFrame(0x80, "\x80"),
            u"message: 😀"_s);
    }
    void frames()
    {
        QFETCH(const QByteArray, frames);
        QFETCH(const QString, outcome);
        QtUrlSession session({.pingInterval = 20s, .closingTime = 5s});
        const bool closes = outcome == lost;
        QCOMPARE(converse(session, std::nullopt, frames, closes), outcome);
        QCOMPARE(converse(session, std::nullopt, textFrame("fine"), false), u"message: fine"_s);
    }

    void handshakes_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("outcome");
        const auto row = [](const char* name, const QByteArray& answer, const QString& outcome) {
            QTest::newRow(name) << answer << outcome;
        };
        const QByteArray rest = "Upgrade: websocket\r\nConnection: Upgrade\r\n";
        const auto refusal = [](const QByteArray& status) {
            return "HTTP/1.1 " + status + "\r\nContent-Length: 2\r\nWWW-Authenticate: Bearer\r\n\r\nno";
        };

        row("right", upgrade(rest + "Sec-WebSocket-Accept: @\r\n"), u"message: {}"_s);
        row("wrong accept key", upgrade(rest + "Sec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n"),
            notAsItShould);
        row("no accept key", upgrade(rest), notAsItShould);
        row("no upgrade", upgrade("Connection: Upgrade\r\nSec-WebSocket-Accept: @\r\n"), notAsItShould);
        row("no connection header", upgrade("Upgrade: websocket\r\nSec-WebSocket-Accept: @\r\n"), notAsItShould);
        row("old HTTP", "HTTP/1.0" + upgrade(rest + "Sec-WebSocket-Accept: @\r\n").mid(8), notAsItShould);
        row("200", refusal("200 OK"), u"The server did not open the connection (status 200)."_s);
        row("302", refusal("302 Found\r\nLocation: ws://127.0.0.1:1/"),
            u"The server did not open the connection (status 302)."_s);
        row("401", refusal("401 Unauthorized"), u"The server does not accept the sign-in. Sign in again."_s);
        row("403", refusal("403 Forbidden"), u"The server does not give this account access."_s);
        row("500", refusal("500 Permission declined by tcc"),
            u"The server had a problem (status 500). Try again later."_s);
        row("503", refusal("503 Busy"), u"The server is not available now. Try again later."_s);
        row("not HTTP", "220 mail.example ready\r\n\r\n", notAsItShould);
        row("garbage", QByteArray(100'000, '\x80'), notAsItShould);
        row("an endless line", upgrade("X: " + QByteArray(10'000'000, 'x')), notAsItShould);
        row("endless headers", upgrade(QByteArray("X: y\r\n").repeated(1'000'000)), notAsItShould);
        row("many proxies' headers",
            upgrade(QByteArray("Via: 1.1 some-proxy.example\r\n").repeated(100) + rest + "Sec-WebSocket-Accept: @\r\n"),
            u"message: {}"_s);
        row("closed at once", "", closedBeforeOpen);
        row("closed in the headers", "HTTP/1.1 101 Switching Pro", closedBeforeOpen);
    }
    void handshakes()
    {
        QFETCH(const QByteArray, answer);
        QFETCH(const QString, outcome);
        QtUrlSession session;
        const bool closes = outcome == closedBeforeOpen;
        QCOMPARE(converse(session, answer, closes ? QByteArray() : textFrame("{}"), closes), outcome);
        QCOMPARE(converse(session, std::nullopt, textFrame("fine"), false), u"message: fine"_s);
    }

    void aHandshakeThatNeverEnds()
    {
        QtUrlSession session({.handshakeTimeout = 50ms});
        LoopbackServer server;
        const auto task = session.webSocketTask(server.url(u"ws"_s, u"/"_s), {});
        task->resume();
        Peer* peer = server.nextPeer();
        QVERIFY(peer && !peer->takeHead().isEmpty());
        peer->write("HTTP/1.1 101 Switching");
        QCOMPARE(sentenceOf(await(task->receive())), u"The server did not answer in time."_s);
        QVERIFY(waitUntil([peer] { return peer->isGone; }));
    }
};

QTEST_GUILESS_MAIN(HostileServerTest)
#include "HostileServerTest.moc"
