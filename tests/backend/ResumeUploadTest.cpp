#include "backend/BackendRealtimeClient.h"
#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace quorvel;
using namespace quorvel::test;
using namespace Qt::StringLiterals;

namespace {

/// Resident memory of this process now, in bytes.
qint64 residentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("/proc is missing");
    }
    return file.readAll().split(' ').at(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

} // namespace

class ResumeUploadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void twoHundredMegabytesTakeNoMemory()
    {
        constexpr qint64 fileSize = 200'000'000;
        const QTemporaryDir folder;
        QFile file(folder.filePath(u"cv.pdf"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(fileSize));
        file.close();
        LoopbackServer server;
        const qint64 before = residentBytes();
        const auto client =
            BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), server.url(u"http"_s, {}));
        const auto outcome = watch(client->extractProfile(QUrl::fromLocalFile(file.fileName())));
        Peer* peer = server.nextPeer();
        QVERIFY(peer && !peer->takeHead().isEmpty());

        qint64 highest = before;
        qint64 received = 0;
        QVERIFY(waitUntil(
            [&] {
                received += peer->received.size();
                peer->received = {};
                highest = std::max(highest, residentBytes());
                return received > fileSize;
            },
            std::chrono::seconds(60)));
        qInfo("resident memory grew by %.1f MB", static_cast<double>(highest - before) / 1e6);
        QVERIFY(highest - before < 20'000'000);
        peer->write("HTTP/1.1 200 OK\r\nContent-Length: 54\r\n\r\n"
                    R"({"resumeSummary":"s","keyterms":[],"characterCount":0})");
        QVERIFY(waitUntil([&] { return outcome->has_value(); }));
        QVERIFY(outcome->value().has_value());
    }
};

QTEST_GUILESS_MAIN(ResumeUploadTest)
#include "ResumeUploadTest.moc"
