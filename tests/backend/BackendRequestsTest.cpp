#include "backend/BackendRealtimeClient.h"
#include "platform/linux/network/QtUrlSession.h"
#include "support/Await.h"
#include "support/LoopbackServer.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace quorvel;
using namespace quorvel::test;
using namespace Qt::StringLiterals;

namespace {

/// Runs one of the client's requests; its result as text, or its failure's sentence after "!".
using Operation = std::function<Task<>(std::shared_ptr<BackendRealtimeClient>, std::shared_ptr<QString>)>;

template <typename Value, typename Text>
Task<> describe(Task<Result<Value>> request, std::shared_ptr<QString> into, Text text)
{
    const Result<Value> result = co_await request;
    *into = result ? text(*result) : u"!"_s + result.error().description;
}

QString userText(const BackendUser& user)
{
    return u"%1 %2 %3 %4"_s.arg(user.id, user.email, user.name.value_or(u"-"_s), user.role);
}

Operation health()
{
    return [](const auto& client, const auto& into) {
        return describe(client->health(), into, [](const HealthResponse& value) {
            const auto flags = value.development;
            return u"%1 %2"_s.arg(value.ok).arg(flags ? u"%1%2"_s.arg(flags->disableAuth).arg(flags->disableAdminAuth)
                                                      : u"-"_s);
        });
    };
}

Operation me()
{
    return [](const auto& client, const auto& into) {
        return describe(client->me(), into, [](const MeResponse& value) { return userText(value.user); });
    };
}

Operation requestOtp()
{
    return [](const auto& client, const auto& into) {
        return describe(client->requestOtp(u" Ä@b.example"_s), into,
                        [](const std::optional<QString>& value) { return value.value_or(u"-"_s); });
    };
}

Operation verifyOtp()
{
    return [](const auto& client, const auto& into) {
        return describe(client->verifyOtp(u"a@b.example"_s, u"\"1\""_s), into, [](const BackendAuthSession& value) {
            return u"%1 %2 %3 %4"_s.arg(userText(value.user), value.accessToken, value.refreshToken)
                .arg(value.expiresIn);
        });
    };
}

Operation googleStartURL()
{
    return [](const auto& client, const auto& into) {
        return describe(client->googleStartURL(), into, [](const QUrl& value) { return value.toString(); });
    };
}

Operation extractProfile(const QString& path)
{
    return [path](const auto& client, const auto& into) {
        return describe(client->extractProfile(QUrl::fromLocalFile(path)), into, [](const ExtractedProfile& value) {
            return u"%1 %2 %3"_s.arg(value.resumeSummary, value.keyterms.join(u',')).arg(value.characterCount);
        });
    };
}

const QString notJson = u"!The data could not be read because it is not valid JSON."_s;

} // namespace

Q_DECLARE_METATYPE(Operation)

class BackendRequestsTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString resume(const QString& name, const QByteArray& content)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("the test's file cannot be written");
        }
        return file.fileName();
    }

    /// The value of a header, absent or with its text.
    static std::optional<QByteArray> header(const QByteArray& head, const QByteArray& name)
    {
        const qsizetype begin = head.indexOf("\r\n" + name + ": ");
        if (begin < 0) {
            return std::nullopt;
        }
        const qsizetype value = begin + 4 + name.size();
        return head.mid(value, head.indexOf("\r\n", value) - value);
    }

private Q_SLOTS:
    void sendsExactly_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QByteArray>("requestLine");
        QTest::addColumn<bool>("isAuthenticated");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("health") << health() << QByteArray("GET /api/health HTTP/1.1") << false << QByteArray();
        QTest::newRow("me") << me() << QByteArray("GET /api/auth/me HTTP/1.1") << true << QByteArray();
        QTest::newRow("request code") << requestOtp() << QByteArray("POST /api/auth/otp/request HTTP/1.1") << false
                                      << QByteArray(R"({"email":" Ä@b.example"})");
        QTest::newRow("verify code") << verifyOtp() << QByteArray("POST /api/auth/otp/verify HTTP/1.1") << false
                                     << QByteArray("{'code':'#1#','email':'a@b.example'}")
                                            .replace('#', QByteArray(1, '\\') + '\'')
                                            .replace('\'', '"');
        QTest::newRow("google") << googleStartURL() << QByteArray("POST /api/auth/google/start HTTP/1.1") << false
                                << QByteArray();
    }
    void sendsExactly()
    {
        QFETCH(const Operation, operation);
        QFETCH(const QByteArray, requestLine);
        QFETCH(const bool, isAuthenticated);
        QFETCH(const QByteArray, body);
        for (const bool hasToken : {true, false}) {
            LoopbackServer server;
            const auto client =
                BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), server.url(u"http"_s, {}));
            client->accessToken = hasToken ? std::optional(u"s3cr+t/="_s) : std::nullopt;
            const auto outcome = std::make_shared<QString>();
            launch(operation(client, outcome));
            Peer* peer = server.nextPeer();
            QVERIFY(peer);
            const QByteArray head = peer->takeHead();
            QCOMPARE(head.left(head.indexOf('\r')), requestLine);
            const bool sendsToken = isAuthenticated && hasToken;
            QCOMPARE(header(head, "Authorization"),
                     sendsToken ? std::optional<QByteArray>("Bearer s3cr+t/=") : std::nullopt);
            QCOMPARE(header(head, "Content-Type"),
                     body.isEmpty() ? std::nullopt : std::optional<QByteArray>("application/json"));
            QCOMPARE(peer->take(body.size()), body);
            QCOMPARE(header(head, "Content-Length").value_or("0"), QByteArray::number(body.size()));
        }
    }

    void answers_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("result");
        const QString file = resume(u"cv.txt"_s, "words");
        const auto row = [](const char* name, const Operation& operation, const QByteArray& status,
                            const QByteArray& body,
                            const QString& result) { QTest::newRow(name) << operation << status << body << result; };
        const auto missing = [](const QString& key) {
            return u"!The data could not be read because “%1” is missing."_s.arg(key);
        };
        const auto wrong = [](const QString& key) {
            return u"!The data could not be read because “%1” is not of the right type."_s.arg(key);
        };

        row("health", health(), "200 OK", R"({"ok":true,"more":1})", u"1 -"_s);
        row("health, null", health(), "200 OK", R"({"ok":false,"development":null})", u"0 -"_s);
        row("health, flags", health(), "299 Odd",
            R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})", u"1 10"_s);
        row("health, half the flags", health(), "200 OK", R"({"ok":true,"development":{"disableAuth":true}})",
            missing(u"disableAdminAuth"_s));
        row("health, flags of another type", health(), "200 OK", R"({"ok":true,"development":[]})",
            wrong(u"development"_s));
        row("health, number for yes", health(), "200 OK", R"({"ok":1})", wrong(u"ok"_s));
        row("me", me(), "200 OK", R"({"user":{"id":"1","email":"e","name":"N","role":"USER"}})", u"1 e N USER"_s);
        row("me, no name", me(), "200 OK", R"({"user":{"id":"1","email":"e","name":null,"role":"USER"}})",
            u"1 e - USER"_s);
        row("me, no role", me(), "200 OK", R"({"user":{"id":"1","email":"e"}})", missing(u"role"_s));
        row("me, name of another type", me(), "200 OK", R"({"user":{"id":"1","email":"e","name":1,"role":"r"}})",
            wrong(u"name"_s));
        row("code", requestOtp(), "200 OK", R"({"ok":true,"devCode":"123456"})", u"123456"_s);
        row("no code", requestOtp(), "200 OK", R"({"ok":true})", u"-"_s);
        row("session", verifyOtp(), "200 OK",
            R"({"user":{"id":"1","email":"e","role":"r"},"accessToken":"a","refreshToken":"b","expiresIn":3600})",
            u"1 e - r a b 3600"_s);
        row("session, text for a number", verifyOtp(), "200 OK",
            R"({"user":{"id":"1","email":"e","role":"r"},"accessToken":"a","refreshToken":"b","expiresIn":"3600"})",
            wrong(u"expiresIn"_s));
        row("google", googleStartURL(), "200 OK", R"({"url":"https://a.example/start?x=1"})",
            u"https://a.example/start?x=1"_s);
        row("google, no URL", googleStartURL(), "200 OK", R"({"url":"http://[bad"})",
            u"!Backend returned an invalid response."_s);
        row("google, no web page", googleStartURL(), "200 OK", R"({"url":"file:///etc/passwd"})",
            u"!Backend returned an invalid response."_s);
        row("google, no host", googleStartURL(), "200 OK", R"({"url":"/start"})",
            u"!Backend returned an invalid response."_s);
        row("google, empty", googleStartURL(), "200 OK", R"({"url":""})", u"!Backend returned an invalid response."_s);
        row("profile", extractProfile(file), "200 OK",
            R"({"resumeSummary":"s","keyterms":["a","b"],"characterCount":5})", u"s a,b 5"_s);
        row("profile, odd term", extractProfile(file), "200 OK",
            R"({"resumeSummary":"s","keyterms":["a",1],"characterCount":5})", wrong(u"keyterms"_s));

        row("refused, verbatim", me(), "401 Unauthorized", R"({"error":"No such user"})",
            u"!{\"error\":\"No such user\"}"_s);
        row("refused, empty", health(), "500 Oops", "", u"!"_s);
        row("refused, no UTF-8", health(), "500 Oops", "\xff", u"!Backend request failed."_s);
        row("upload refused", extractProfile(file), "413 Large", "too large ü", u"!too large ü"_s);
        row("upload refused, no UTF-8", extractProfile(file), "500 Oops", "\xc3", u"!Profile extraction failed."_s);
        row("no content", health(), "204 No Content", "", notJson);
        row("no JSON", health(), "200 OK", "<html>", notJson);
        row("100,000 levels", health(), "200 OK", QByteArray(100'000, '['), notJson);
    }
    void answers()
    {
        QFETCH(const Operation, operation);
        QFETCH(const QByteArray, status);
        QFETCH(const QByteArray, body);
        LoopbackServer server;
        const auto client =
            BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), server.url(u"http"_s, {}));
        client->accessToken = u"s3cret"_s;
        const auto outcome = std::make_shared<QString>();
        launch(operation(client, outcome));
        Peer* peer = server.nextPeer();
        QVERIFY(peer && !peer->takeHead().isEmpty());
        const QByteArray length =
            status.startsWith("204") ? QByteArray() : "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
        peer->write("HTTP/1.1 " + status + "\r\n" + length + "\r\n" + body);
        QVERIFY(waitUntil([&] { return !outcome->isNull(); }));
        QTEST(*outcome, "result");
    }

    void uploadsExactly_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("type");
        QTest::newRow("PDF") << u"CV.PDF"_s << QByteArray("application/pdf");
        QTest::newRow("DOCX") << u"my \"cv\" ü.docx"_s
                              << QByteArray("application/vnd.openxmlformats-officedocument.wordprocessingml.document");
        QTest::newRow("TXT") << u"a.b.txt"_s << QByteArray("text/plain");
        QTest::newRow("other") << u"notes.md"_s << QByteArray("application/octet-stream");
        QTest::newRow("none") << u"resume"_s << QByteArray("application/octet-stream");
    }
    void uploadsExactly()
    {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, type);
        const QByteArray content("\r\n--not a boundary\0\xff", 20);
        LoopbackServer server;
        const auto client =
            BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), server.url(u"http"_s, {}));
        client->accessToken = u"s3cret"_s;
        const auto outcome = std::make_shared<QString>();
        launch(extractProfile(resume(name, content))(client, outcome));
        Peer* peer = server.nextPeer();
        QVERIFY(peer);
        const QByteArray head = peer->takeHead();
        QVERIFY(head.startsWith("POST /api/profile/extract HTTP/1.1\r\n"));
        QVERIFY(!header(head, "Authorization"));
        const QByteArray contentType = header(head, "Content-Type").value_or("");
        static const QRegularExpression form(
            u"^multipart/form-data; boundary=(Quorvel-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12})$"_s);
        const QRegularExpressionMatch match = form.match(QString::fromLatin1(contentType));
        QVERIFY2(match.hasMatch(), contentType.constData());
        const QByteArray boundary = match.captured(1).toLatin1();
        const QByteArray body = "--" + boundary + "\r\nContent-Disposition: form-data; name=\"resume\"; filename=\"" +
                                name.toUtf8() + "\"\r\nContent-Type: " + type + "\r\n\r\n" + content + "\r\n--" +
                                boundary + "--\r\n";
        QCOMPARE(header(head, "Content-Length"), std::optional(QByteArray::number(body.size())));
        QCOMPARE(peer->take(body.size()), body);
    }

    void aMissingFileSendsNothing()
    {
        LoopbackServer server;
        const auto client =
            BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), server.url(u"http"_s, {}));
        const auto outcome = await(client->extractProfile(QUrl::fromLocalFile(m_folder.filePath(u"gone.pdf"_s))));
        QCOMPARE(sentenceOf(outcome), u"The file does not exist."_s);
        settle();
        QCOMPARE(server.connectionCount(), std::size_t{0});
    }

    void manyAtOnce()
    {
        LoopbackServer server;
        const auto client =
            BackendRealtimeClient::create(std::make_shared<platform::QtUrlSession>(), server.url(u"http"_s, {}));
        std::vector<Outcome<Result<HealthResponse>>> requests;
        requests.reserve(4);
        for (int index = 0; index < 4; ++index) {
            requests.push_back(watch(client->health()));
        }
        const auto first = server.nextPeer();
        QVERIFY(first && server.nextPeer() && server.nextPeer() && server.nextPeer());
        for (const auto& peer : server.peers()) {
            QVERIFY(!peer->takeHead().isEmpty());
            peer->write("HTTP/1.1 200 OK\r\nContent-Length: 11\r\n\r\n{\"ok\":true}");
        }
        for (const auto& request : requests) {
            QVERIFY(waitUntil([&] { return request->has_value(); }));
            QVERIFY(request->value().has_value());
        }
    }
};

QTEST_GUILESS_MAIN(BackendRequestsTest)
#include "BackendRequestsTest.moc"
