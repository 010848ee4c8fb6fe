#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"

#include <QElapsedTimer>
#include <QTest>

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

using namespace quorvel;
using namespace quorvel::platform;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Connects or cuts the only network of this process's namespace.
bool setLoopback(bool isUp)
{
    const int control = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::ranges::copy("lo", std::begin(request.ifr_name));
    request.ifr_flags = isUp ? IFF_UP : 0;
    const bool isDone = control >= 0 && ioctl(control, SIOCSIFFLAGS, &request) == 0;
    close(control);
    return isDone;
}

} // namespace

/// How soon a peer that falls silent for ever is given up, with the product's own times, while sound is sent to it.
/// It runs in a network namespace of its own, whose packets it can lose.
class SilentPeerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(setLoopback(true), "this test needs a network namespace of its own"); }

    void isGivenUp_data()
    {
        QTest::addColumn<bool>("losesPackets");
        QTest::newRow("a relay that stops forwarding") << false;
        QTest::newRow("a cut line") << true;
    }

    void isGivenUp()
    {
        QFETCH(const bool, losesPackets);
        QtUrlSession session;
        LoopbackServer server;
        const auto task = session.webSocketTask(server.url(u"ws"_s, u"/"_s), {});
        task->resume();
        const auto received = watch(task->receive());
        Peer* const peer = server.nextPeer();
        QVERIFY(peer && !peer->acceptWebSocket().isEmpty());
        QVERIFY(await(task->send({.kind = WebSocketMessage::Kind::text, .data = "{}"})).value().has_value());

        if (losesPackets) {
            QVERIFY(setLoopback(false));
        } else {
            peer->stopReading();
        }
        const auto repair = qScopeGuard([] { QVERIFY(setLoopback(true)); });
        QElapsedTimer silence;
        silence.start();
        const WebSocketMessage frame{.kind = WebSocketMessage::Kind::binary, .data = QByteArray(960, 's')};
        int frames = 0;
        QTimer sound;
        connect(&sound, &QTimer::timeout, this, [&] {
            launch(task->send(frame));
            ++frames;
        });
        sound.start(20ms);
        QVERIFY(waitUntil([&] { return received->has_value(); }, 20s));
        qInfo("given up after %.2f s and %d frames of sound", static_cast<double>(silence.elapsed()) / 1000, frames);
        QCOMPARE(sentenceOf(*received), u"The connection to the server was lost."_s);
        QCOMPARE(sentenceOf(await(task->send(frame))), sentenceOf(*received));
    }
};

QTEST_GUILESS_MAIN(SilentPeerTest)
#include "SilentPeerTest.moc"
