#include "fixtures/TestServer.h"
#include "realtime/Messages.h"
#include "realtime/Outbox.h"

#include <QTest>

#include <thread>

using namespace quorvel::localbackend;

namespace {

/// A text frame with the given bytes, masked with zeros.
std::string rawFrame(unsigned char firstByte, std::string_view payload)
{
    std::string frame{static_cast<char>(firstByte), static_cast<char>(0x80U | payload.size())};
    frame += std::string(4, '\0');
    frame += payload;
    return frame;
}

} // namespace

class RealtimeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tokenIsCheckedAtTheHandshake()
    {
        const TestServer server;
        const auto token = server.signIn();
        QCOMPARE(TestSocket(server.port()).open("/ws/realtime"), 401);
        QCOMPARE(TestSocket(server.port()).open("/ws/realtime?token=" + token + "x"), 401);
        QCOMPARE(TestSocket(server.port()).open("/ws/realtime?token=%f"), 400);
        QCOMPARE(TestSocket(server.port()).open("/ws/realtime?token=" + token), 101);
        const TestServer open({.disableAuth = true});
        QCOMPARE(TestSocket(open.port()).open("/ws/realtime"), 101);
    }

    void sessionRunsThroughItsStates()
    {
        const TestServer server({.disableAuth = true});
        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        auto status = socket.next({"session.status"});
        QCOMPARE(textAt(status, "state") + " " + textAt(status, "transcriber"), std::string("idle waiting"));
        socket.sendText(sessionStart());
        status = socket.next({"session.status"});
        QCOMPARE(textAt(status, "state") + " " + textAt(status, "transcriber"), std::string("starting connecting"));
        status = socket.next({"session.status"});
        QCOMPARE(textAt(status, "state") + " " + textAt(status, "transcriber"), std::string("running connected"));
        QVERIFY(!status.contains("message"));

        socket.sendSound(1);
        auto message = socket.next({"transcript.delta"});
        QCOMPARE(textAt(message, "text") + "|" + textAt(message, "partial"), std::string("why|why"));
        socket.sendSound(1);
        message = socket.next({"transcript.delta"});
        QCOMPARE(textAt(message, "text") + "|" + textAt(message, "partial"), std::string("us|why us"));
        socket.sendSound(2);
        message = socket.next({"transcript.delta", "transcript.final"});
        QCOMPARE(textAt(message, "type") + "|" + textAt(message, "text"), std::string("transcript.final|why us"));
        message = socket.next({"suggestion.update"});
        QCOMPARE(message, (boost::json::object{{"type", "suggestion.update"},
                                               {"shouldRespond", true},
                                               {"suggestion", "Candidate: why us"},
                                               {"confidence", 0.5},
                                               {"detectedIntent", "question"}}));

        socket.sendText(contextUpdate("Engineer"));
        socket.sendSound(2);
        QCOMPARE(textAt(socket.next({"suggestion.update"}), "suggestion"), std::string("Engineer: why us"));

        socket.sendText(R"({"type":"session.stop"})");
        status = socket.next({"session.status"});
        QCOMPARE(textAt(status, "state") + " " + textAt(status, "transcriber"), std::string("stopped closed"));
        QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("ended by a pause"));
    }

    void diagnosticsCount()
    {
        TestServer server({.disableAuth = true});
        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        socket.sendText(sessionStart());
        auto tick = socket.next({"diagnostic.tick"});
        QCOMPARE(tick, (boost::json::object{{"type", "diagnostic.tick"}, {"audioBytes", 0}, {"commits", 0}}));
        socket.sendSound(2, 480);
        socket.sendSound(0, 100);
        QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("why us"));
        tick = socket.next({"diagnostic.tick"});
        QCOMPARE(tick, (boost::json::object{{"type", "diagnostic.tick"},
                                            {"audioBytes", 1160},
                                            {"commits", 1},
                                            {"lastAudioAt", "2027-01-15T08:00:00Z"},
                                            {"lastTranscriptAt", "2027-01-15T08:00:00Z"},
                                            {"latencyMs", 0}}));
        server.clock().advance(std::chrono::seconds{2});
        QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("ended by a pause"));
    }

    void degradationIsTold()
    {
        const TestServer server({.disableAuth = true});
        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        socket.sendText(sessionStart());
        while (textAt(socket.next({"session.status"}), "state") != "running") {
        }
        socket.sendSound(4);
        socket.sendSound(3);
        auto status = socket.next({"session.status"});
        QCOMPARE(textAt(status, "message"),
                 std::string("The server is busy: 7 seconds of sound were not transcribed."));
        socket.sendSound(4);
        status = socket.next({"session.status"});
        QCOMPARE(textAt(status, "state") + textAt(status, "message"), std::string("running(none)"));
        socket.sendSound(5);
        const auto error = socket.next({"error"});
        QCOMPARE(textAt(error, "severity") + ": " + textAt(error, "message"),
                 std::string("fatal: The recogniser broke."));
        QCOMPARE(socket.closeCode(), 1008);
    }

    void badMessagesAreAnswered_data()
    {
        QTest::addColumn<bool>("running");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<bool>("fatal");
        QTest::newRow("no JSON at first") << false << QByteArray("hello") << true;
        QTest::newRow("no JSON later") << true << QByteArray("hello") << false;
        QTest::newRow("array") << true << QByteArray("[]") << false;
        QTest::newRow("no type") << true << QByteArray("{}") << false;
        QTest::newRow("unknown type") << true << QByteArray(R"({"type":"ping"})") << false;
        QTest::newRow("start without context") << false << QByteArray(R"({"type":"session.start"})") << true;
        QTest::newRow("update without context") << true << QByteArray(R"({"type":"context.update"})") << false;
        QTest::newRow("second start") << true << QByteArray::fromStdString(sessionStart()) << false;
        QTest::newRow("unknown mode") << false << QByteArray::fromStdString(sessionStart("x", "hr")) << true;
        QTest::newRow("role too long") << false << QByteArray::fromStdString(sessionStart(std::string(5000, 'x')))
                                       << true;
        QTest::newRow("other sample rate")
            << false << QByteArray::fromStdString(sessionStart()).replace("24000", "16000") << true;
        QTest::newRow("no key terms") << false
                                      << QByteArray::fromStdString(sessionStart()).replace("keyterms", "keywords")
                                      << true;
        QTest::newRow("key term of another type")
            << false << QByteArray::fromStdString(sessionStart()).replace("\"term\"", "1") << true;
    }
    void badMessagesAreAnswered()
    {
        QFETCH(bool, running);
        QFETCH(QByteArray, message);
        QFETCH(bool, fatal);
        const TestServer server({.disableAuth = true});
        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        if (running)
            socket.sendText(sessionStart());
        socket.sendText(message.toStdString());
        const auto error = socket.next({"error"});
        QCOMPARE(textAt(error, "severity"), std::string(fatal ? "fatal" : "recoverable"));
        QVERIFY(textAt(error, "message").ends_with('.'));
        if (fatal) {
            QCOMPARE(socket.closeCode(), 1008);
        } else {
            socket.sendSound(2);
            QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("why us"));
        }
    }

    void badSoundIsAnswered()
    {
        const TestServer server({.disableAuth = true});
        TestSocket early(server.port());
        QCOMPARE(early.open("/ws/realtime"), 101);
        early.sendSound(0);
        QCOMPARE(textAt(early.next({"error"}), "severity"), std::string("fatal"));

        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        socket.sendText(sessionStart());
        socket.sendBytes("abc");
        QCOMPARE(textAt(socket.next({"error"}), "severity"), std::string("recoverable"));
        socket.sendBytes("");
        socket.sendSound(2);
        QCOMPARE(textAt(socket.next({"transcript.final"}), "text"), std::string("why us"));
    }

    void malformedFramesEndTheConnection_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("code");
        QTest::newRow("reserved bit") << QByteArray::fromStdString(rawFrame(0xC1, "{}")) << 1002;
        QTest::newRow("reserved opcode") << QByteArray::fromStdString(rawFrame(0x83, "{}")) << 1002;
        QTest::newRow("continuation of nothing") << QByteArray::fromStdString(rawFrame(0x80, "{}")) << 1002;
        QTest::newRow("fragmented ping") << QByteArray::fromStdString(rawFrame(0x09, "{}")) << 1002;
        QTest::newRow("unmasked") << QByteArray("\x81\x02{}", 4) << 1002;
        QTest::newRow("text not UTF-8") << QByteArray::fromStdString(rawFrame(0x81, "\xff\xfe")) << 1007;
        QTest::newRow("length past the limit")
            << QByteArray("\x82\xff\x00\x00\x00\x00\x00\x10\x00\x01\x00\x00\x00\x00", 14) << 1009;
    }
    void malformedFramesEndTheConnection()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, code);
        const TestServer server({.disableAuth = true});
        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        socket.sendText(sessionStart());
        socket.sendRaw(bytes.toStdString());
        QCOMPARE(socket.closeCode(), code);
        TestSocket another(server.port());
        QCOMPARE(another.open("/ws/realtime"), 101);
    }

    void stopClosesSessionsAsGoingAway()
    {
        TestServer server({.disableAuth = true});
        TestSocket first(server.port());
        TestSocket second(server.port());
        QCOMPARE(first.open("/ws/realtime"), 101);
        QCOMPARE(second.open("/ws/realtime"), 101);
        second.sendText(sessionStart());
        while (textAt(second.next({"session.status"}), "state") != "running") {
        }
        int firstCode = 0;
        std::thread reader([&] { firstCode = first.closeCode(); });
        std::thread stopper([&] { server.stopAndWait(); });
        QCOMPARE(second.closeCode(), 1001);
        reader.join();
        stopper.join();
        QCOMPARE(firstCode, 1001);
    }

    void silentPeerDoesNotHoldTheStopUp()
    {
        TestServer server({.disableAuth = true});
        TestSocket socket(server.port());
        QCOMPARE(socket.open("/ws/realtime"), 101);
        server.stopAndWait();
        QCOMPARE(socket.closeCode(), 1001);
    }

    void outboxReplacesAndIsBounded()
    {
        Outbox outbox;
        QVERIFY(outbox.push(Outbox::Kind::Delta, "one"));
        QVERIFY(outbox.push(Outbox::Kind::Delta, "two"));
        QVERIFY(outbox.push(Outbox::Kind::Ordinary, "final"));
        QVERIFY(outbox.push(Outbox::Kind::Delta, "three"));
        QCOMPARE(outbox.pop(), std::string("two"));
        QCOMPARE(outbox.pop(), std::string("final"));
        QCOMPARE(outbox.pop(), std::string("three"));
        QVERIFY(outbox.isEmpty());

        for (std::size_t i = 0; i < Outbox::mostMessages; ++i)
            QVERIFY(outbox.push(Outbox::Kind::Ordinary, "x"));
        QVERIFY(!outbox.push(Outbox::Kind::Ordinary, "x"));
        Outbox large;
        QVERIFY(large.push(Outbox::Kind::Ordinary, std::string(Outbox::mostBytes, 'x')));
        QVERIFY(!large.push(Outbox::Kind::Ordinary, "x"));
        QCOMPARE(large.pop().size(), Outbox::mostBytes);
        QVERIFY(large.push(Outbox::Kind::Ordinary, "x"));
    }
};

QTEST_APPLESS_MAIN(RealtimeTest)
#include "RealtimeTest.moc"
