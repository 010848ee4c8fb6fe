#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"
#include "support/TestCertificate.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/fsuid.h>
#include <sys/stat.h>

using namespace quorvel;
using namespace quorvel::platform;
using namespace quorvel::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr uid_t nobody = 65534;

}

class HttpRequestTest : public QObject
{
    Q_OBJECT

private:
    static QByteArray response(const QByteArray& status, const QByteArray& body)
    {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }

    /// Names and values as sent, in alphabetical order, without those that depend on the machine.
    static QList<QByteArray> headers(const QByteArray& head)
    {
        QList<QByteArray> lines = head.trimmed().split('\n');
        lines.removeFirst();
        for (QByteArray& line : lines) {
            line = line.trimmed();
        }
        lines.removeIf(
            [](const QByteArray& line) { return line.startsWith("Host: 127.0.0.1:") || line.startsWith("Accept-"); });
        std::ranges::sort(lines);
        return lines;
    }

    static UrlRequest get(const QUrl& url)
    {
        UrlRequest request;
        request.url = url;
        return request;
    }

    /// Answers each request on whatever connection it comes until the operation has ended; Qt Network tries a
    /// connection that is closed without an answer again, a few times.
    template <typename Answer>
    static bool answerUntilEnd(LoopbackServer& server, const Outcome<Result<UrlResponse>>& outcome, Answer answer)
    {
        return waitUntil([&] {
            for (const std::unique_ptr<Peer>& peer : server.peers()) {
                if (peer->received.contains("\r\n\r\n")) {
                    answer(*peer);
                }
            }
            return outcome->has_value();
        });
    }

    QTemporaryDir m_folder;

    QString writeFile(const QString& name, const QByteArray& content)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("the test's file cannot be written");
        }
        return file.fileName();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setApplicationName(u"Quorvel"_s);
        QCoreApplication::setApplicationVersion(u"1.2"_s);
        QVERIFY(m_folder.isValid() && ::chmod(qPrintable(m_folder.path()), 0755) == 0);
    }

    void sendsExactlyTheRequest_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("hasBody");
        QTest::addColumn<QList<QByteArray>>("expectedHeaders");

        const QList<QByteArray> always{"Connection: Keep-Alive", "User-Agent: Quorvel/1.2"};
        const auto with = [&always](QList<QByteArray> more) {
            more += always;
            std::ranges::sort(more);
            return more;
        };
        QTest::newRow("get") << QByteArray("GET") << QByteArray() << QByteArray() << false << always;
        QTest::newRow("post without body")
            << QByteArray("POST") << QByteArray() << QByteArray() << false << with({"Content-Length: 0"});
        QTest::newRow("post") << QByteArray("POST") << QByteArray("application/json") << QByteArray("{\"a\":1}") << true
                              << with({"Content-Length: 7", "Content-Type: application/json"});
    }
    void sendsExactlyTheRequest()
    {
        QFETCH(const QByteArray, method);
        QFETCH(const QByteArray, contentType);
        QFETCH(const QByteArray, body);
        QFETCH(const bool, hasBody);
        QFETCH(const QList<QByteArray>, expectedHeaders);

        QtUrlSession session;
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/api/a%20b?x=1"_s));
        request.method = method;
        if (hasBody) {
            request.headers = {{"Content-Type", contentType}};
            request.body = body;
        }
        const auto outcome = watch(session.send(std::move(request)));
        Peer* peer = server.nextPeer();
        QVERIFY(peer);
        const QByteArray head = peer->takeHead();
        QCOMPARE(head.left(head.indexOf('\r')), method + " /api/a%20b?x=1 HTTP/1.1");
        QCOMPARE(headers(head), expectedHeaders);
        QCOMPARE(peer->take(body.size()), body);

        peer->write(response("404 Not Found", "no \xff"));
        QVERIFY(waitUntil([&] { return outcome->has_value(); }));
        QVERIFY(outcome->value().has_value());
        QCOMPARE(outcome->value()->httpStatus, 404);
        QCOMPARE(outcome->value()->body, "no \xff");
    }

    void streamsAFile()
    {
        const QByteArray content = QByteArray("0123456789abcdef").repeated(40000);
        const QString path = writeFile(u"cv.pdf"_s, content);
        QtUrlSession session;
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/up"_s));
        request.method = "POST";
        request.headers = {{"Content-Type", "multipart/form-data"}};
        request.body = FileBody{.before = "before", .filePath = path, .after = "after"};
        const auto outcome = watch(session.send(std::move(request)));
        Peer* peer = server.nextPeer();
        QVERIFY(peer);
        QVERIFY(peer->takeHead().contains("\r\nContent-Length: 640011\r\n"));
        const QByteArray expected = "before" + content + "after";
        QVERIFY(peer->take(expected.size()) == expected);
        peer->write(response("200 OK", "done"));
        QVERIFY(waitUntil([&] { return outcome->has_value(); }));
        QCOMPARE(outcome->value()->body, "done");
    }

    void sendsAFileAgainAfterADeadKeptConnection()
    {
        const QString path = writeFile(u"cv.txt"_s, "words");
        QtUrlSession session;
        LoopbackServer server;
        const auto first = watch(session.send(get(server.url(u"http"_s, u"/one"_s))));
        Peer* kept = server.nextPeer();
        QVERIFY(kept && !kept->takeHead().isEmpty());
        kept->write(response("200 OK", ""));
        QVERIFY(waitUntil([&] { return first->has_value(); }));

        UrlRequest request = get(server.url(u"http"_s, u"/two"_s));
        request.method = "POST";
        request.headers = {{"Content-Type", "text/plain"}};
        request.body = FileBody{.before = "<", .filePath = path, .after = ">"};
        const auto second = watch(session.send(std::move(request)));
        QVERIFY(!kept->takeHead().isEmpty());
        kept->reset();
        Peer* fresh = server.nextPeer();
        QVERIFY(fresh && !fresh->takeHead().isEmpty());
        QCOMPARE(fresh->take(7), "<words>");
        fresh->write(response("200 OK", ""));
        QVERIFY(waitUntil([&] { return second->has_value(); }));
        QVERIFY(second->value().has_value());
    }

    void failsOnAFileBeforeAnythingIsSent_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("sentence");
        const QString pipe = m_folder.filePath(u"pipe"_s);
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        QTest::newRow("missing") << m_folder.filePath(u"nothing.pdf"_s) << u"The file does not exist."_s;
        QTest::newRow("folder") << m_folder.path() << u"What was chosen is not a file."_s;
        QTest::newRow("pipe") << pipe << u"What was chosen is not a file."_s;
        const QString locked = writeFile(u"locked.pdf"_s, "secret");
        QVERIFY(QFile::setPermissions(locked, {}));
        QTest::newRow("locked") << locked << u"The file cannot be read. Check that you may open it."_s;
    }
    void failsOnAFileBeforeAnythingIsSent()
    {
        QFETCH(const QString, path);
        QtUrlSession session;
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/up"_s));
        request.method = "POST";
        request.body = FileBody{.before = {}, .filePath = path, .after = {}};
        // Root may open everything, so this thread looks at files as nobody does.
        const int owner = ::setfsuid(nobody);
        const auto outcome = await(session.send(std::move(request)));
        ::setfsuid(static_cast<uid_t>(owner));
        QTEST(sentenceOf(outcome), "sentence");
        settle();
        QCOMPARE(server.connectionCount(), std::size_t{0});
    }

    void failsWhenTheFileShrinks()
    {
        const QString path = writeFile(u"big.txt"_s, QByteArray(8 << 20, 'x'));
        QtUrlSession session;
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/up"_s));
        request.method = "POST";
        request.headers = {{"Content-Type", "text/plain"}};
        request.body = FileBody{.before = {}, .filePath = path, .after = {}};
        const auto outcome = watch(session.send(std::move(request)));
        Peer* peer = server.nextPeer();
        QVERIFY(peer && !peer->takeHead().isEmpty());
        QVERIFY(QFile::resize(path, 10));
        QVERIFY(waitUntil([&] { return outcome->has_value(); }));
        QCOMPARE(sentenceOf(*outcome), u"The file could not be read to its end."_s);
    }

    void tellsWhatWentWrong_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("resets");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("closed before answer") << QByteArray() << false << u"The connection to the server was lost."_s;
        QTest::newRow("not HTTP") << QByteArray("220 mail.example ready\r\n\r\n") << false
                                  << u"The connection to the server was lost."_s;
        QTest::newRow("reset in the body") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nhalf") << true
                                           << u"The connection to the server was lost."_s;
        QTest::newRow("closed in the body") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nhalf") << false
                                            << u"The connection to the server was lost."_s;
        QTest::newRow("other origin")
            << QByteArray("HTTP/1.1 302 Found\r\nLocation: http://localhost:1/steal\r\nContent-Length: 0\r\n\r\n")
            << false << u"The server sent the request on to an address that cannot be followed."_s;
        QTest::newRow("redirected for ever")
            << QByteArray("HTTP/1.1 302 Found\r\nLocation: /api\r\nContent-Length: 0\r\n\r\n") << false
            << u"The server sent the request on to an address that cannot be followed."_s;
        QTest::newRow("too large") << "HTTP/1.1 200 OK\r\nContent-Length: 9000000\r\n\r\n" + QByteArray(9'000'000, 'x')
                                   << false << u"The server's answer is too large."_s;
    }
    void tellsWhatWentWrong()
    {
        QFETCH(const QByteArray, answer);
        QFETCH(const bool, resets);
        QtUrlSession session;
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/api"_s));
        request.headers = {{"Authorization", "Bearer s3cret"}};
        const auto outcome = watch(session.send(std::move(request)));
        const auto answerPeer = [&](Peer& peer) {
            const bool hasToken = peer.takeHead().contains("Authorization: Bearer s3cret");
            peer.write(hasToken ? answer : QByteArray());
            if (resets) {
                peer.reset();
            } else if (!answer.contains("Location: /api")) {
                peer.finish();
            }
        };
        QVERIFY(answerUntilEnd(server, outcome, answerPeer));
        QTEST(sentenceOf(*outcome), "sentence");
        QVERIFY(outcome->value().error().code == errorCode(PlatformError::failed));
    }

    void followsARedirectWithinTheOrigin()
    {
        QtUrlSession session;
        LoopbackServer server;
        const auto outcome = watch(session.send(get(server.url(u"http"_s, u"/api/health"_s))));
        const auto redirect = [](Peer& peer) {
            if (peer.takeHead().startsWith("GET /api/health/ ")) {
                peer.write(response("200 OK", "{}"));
            } else {
                peer.write("HTTP/1.1 308 Permanent Redirect\r\nLocation: /api/health/\r\nContent-Length: 0\r\n\r\n");
            }
        };
        QVERIFY(answerUntilEnd(server, outcome, redirect));
        QCOMPARE(outcome->value()->body, "{}");
    }

    void givesUpWithoutProgress()
    {
        QtUrlSession session;
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/"_s));
        QCOMPARE(request.timeout, 60s);
        request.timeout = 50ms;
        QCOMPARE(sentenceOf(await(session.send(std::move(request)))), u"The server did not answer in time."_s);
    }

    void refusedAndUnknown()
    {
        QtUrlSession session;
        QUrl url;
        {
            const LoopbackServer gone;
            url = gone.url(u"http"_s, u"/"_s);
        }
        QCOMPARE(sentenceOf(await(session.send(get(url)))), u"The server refused the connection."_s);
        QCOMPARE(sentenceOf(await(session.send(get(QUrl(u"http://backend.invalid/"_s))))),
                 u"The server could not be found."_s);
    }

    void isCancelledByItsTokenOrItsSession()
    {
        std::stop_source stop;
        auto session = std::make_unique<QtUrlSession>();
        LoopbackServer server;
        UrlRequest request = get(server.url(u"http"_s, u"/"_s));
        request.stop = stop.get_token();
        const auto stopped = watch(session->send(request));
        Peer* peer = server.nextPeer();
        QVERIFY(peer && !peer->takeHead().isEmpty());
        stop.request_stop();
        QVERIFY(waitUntil([&] { return stopped->has_value(); }));
        QVERIFY(stopped->value().error().code == errorCode(PlatformError::cancelled));

        const auto orphaned = watch(session->send(get(request.url)));
        QVERIFY(server.nextPeer());
        session.reset();
        QVERIFY(waitUntil([&] { return orphaned->has_value(); }));
        QVERIFY(orphaned->value().error().code == errorCode(PlatformError::cancelled));
    }

    void trustsNoUnknownCertificate_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isKnown");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("unknown") << u"IP:127.0.0.1"_s << false << u"The server's certificate is not trusted."_s;
        QTest::newRow("other name") << u"DNS:other.example"_s << true
                                    << u"The server's certificate belongs to another server."_s;
        QTest::newRow("good") << u"IP:127.0.0.1"_s << true << QString();
    }
    void trustsNoUnknownCertificate()
    {
        QFETCH(const QString, name);
        QFETCH(const bool, isKnown);
        const auto tls = makeTestCertificate(name);
        QVERIFY(tls);
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        const auto restore = qScopeGuard([&before] { QSslConfiguration::setDefaultConfiguration(before); });
        if (isKnown) {
            QSslConfiguration trusting = before;
            trusting.addCaCertificate(tls ? tls->localCertificate() : QSslCertificate());
            QSslConfiguration::setDefaultConfiguration(trusting);
        }
        QtUrlSession session;
        LoopbackServer server(tls);
        const auto outcome = watch(session.send(get(server.url(u"https"_s, u"/"_s))));
        Peer* peer = server.nextPeer();
        QVERIFY(peer);
        QVERIFY(waitUntil([&] { return outcome->has_value() || !peer->received.isEmpty(); }));
        if (!outcome->has_value()) {
            peer->write(response("200 OK", ""));
        } else {
            QCOMPARE(peer->received, QByteArray());
        }
        QVERIFY(waitUntil([&] { return outcome->has_value(); }));
        QTEST(sentenceOf(*outcome), "sentence");
    }

    void usesTheDesktopsProxyButNotForThisMachine()
    {
        LoopbackServer proxy;
        LoopbackServer server;
        qputenv("http_proxy", proxy.url(u"http"_s, {}).toEncoded());
        const auto restore = qScopeGuard([] { qunsetenv("http_proxy"); });
        QtUrlSession session;
        const auto direct = watch(session.send(get(server.url(u"http"_s, u"/here"_s))));
        Peer* peer = server.nextPeer();
        QVERIFY(peer && peer->takeHead().startsWith("GET /here "));
        const auto proxied = watch(session.send(get(QUrl(u"http://backend.invalid/there"_s))));
        Peer* atProxy = proxy.nextPeer();
        QVERIFY(atProxy && atProxy->takeHead().startsWith("GET http://backend.invalid/there "));
        atProxy->write(
            "HTTP/1.1 407 Proxy Authentication Required\r\nProxy-Authenticate: Basic\r\nContent-Length: 0\r\n\r\n");
        QVERIFY(waitUntil([&] { return proxied->has_value(); }));
        QCOMPARE(sentenceOf(*proxied), u"The proxy asks for a sign-in."_s);
    }
};

QTEST_GUILESS_MAIN(HttpRequestTest)
#include "HttpRequestTest.moc"
