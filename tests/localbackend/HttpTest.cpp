#include "fixtures/TestServer.h"
#include "http/Form.h"
#include "http/Multipart.h"
#include "support/Json.h"

#include <QTest>

using namespace quorvel::localbackend;

namespace {

const std::string jsonType = "Content-Type: application/json\r\n";
const std::string formType = "Content-Type: application/x-www-form-urlencoded\r\n";
const std::string multipartType = "Content-Type: multipart/form-data; boundary=Quorvel-1\r\n";

std::string multipart(std::string_view fileName, std::string_view type, std::string_view content)
{
    return "--Quorvel-1\r\nContent-Disposition: form-data; name=\"resume\"; filename=\"" + std::string(fileName) +
           "\"\r\nContent-Type: " + std::string(type) + "\r\n\r\n" + std::string(content) + "\r\n--Quorvel-1--\r\n";
}

/// The state of the consent page that the Google start names.
std::string consentState(unsigned short port)
{
    const auto url = textAt(parseJsonObject(request(port, "POST /api/auth/google/start").body).value(), "url");
    return url.substr(url.find("state=") + 6);
}

} // namespace

class HttpTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void healthTellsTheDevelopmentFlags_data()
    {
        QTest::addColumn<bool>("disableAuth");
        QTest::addColumn<bool>("disableAdminAuth");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("meStatus");
        QTest::addColumn<QByteArray>("role");
        QTest::newRow("neither") << false << false << QByteArray(R"({"ok":true})") << 401 << QByteArray();
        QTest::newRow("no sign-in") << true << false
                                    << QByteArray(
                                           R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":false}})")
                                    << 200 << QByteArray("USER");
        QTest::newRow("no sign-in, administrator")
            << true << true << QByteArray(R"({"ok":true,"development":{"disableAuth":true,"disableAdminAuth":true}})")
            << 200 << QByteArray("ADMIN");
    }
    void healthTellsTheDevelopmentFlags()
    {
        QFETCH(bool, disableAuth);
        QFETCH(bool, disableAdminAuth);
        QFETCH(QByteArray, body);
        QFETCH(int, meStatus);
        QFETCH(QByteArray, role);
        const TestServer server({.disableAuth = disableAuth, .disableAdminAuth = disableAdminAuth});
        const auto health = request(server.port(), "GET /api/health");
        QCOMPARE(health.status, 200);
        QCOMPARE(health.body, body.toStdString());
        const auto me = request(server.port(), "GET /api/auth/me");
        QCOMPARE(me.status, meStatus);
        if (meStatus == 200)
            QCOMPARE(textAt(*objectAt(parseJsonObject(me.body).value(), "user"), "role"), role.toStdString());
    }

    void addressIsTrimmedAndLowerCased()
    {
        const TestServer server;
        const auto reply =
            request(server.port(), "POST /api/auth/otp/request", jsonType, R"({"email":"  Some.One@Example.ORG \n"})");
        const auto code = textAt(parseJsonObject(reply.body).value(), "devCode");
        const auto session = request(server.port(), "POST /api/auth/otp/verify", jsonType,
                                     R"({"email":"some.one@example.org","code":" )" + code + R"("})");
        QCOMPARE(session.status, 200);
        const auto body = parseJsonObject(session.body).value();
        QVERIFY(stringAt(body, "refreshToken"));
        QVERIFY(integerAt(body, "expiresIn").value_or(0) > 0);
        QCOMPARE(textAt(*objectAt(body, "user"), "email"), std::string("some.one@example.org"));
    }

    void googleSignInRedirectsWithTokens()
    {
        const TestServer server;
        const auto state = consentState(server.port());
        const auto page = request(server.port(), "GET /api/auth/google/consent?state=" + state);
        QCOMPARE(page.status, 200);
        QVERIFY(page.head.contains("text/html") && page.body.contains(state));

        const auto wrong =
            request(server.port(), "POST /api/auth/google/consent", formType, "state=" + state + "&email=%3Cb%3E");
        QCOMPARE(wrong.status, 200);
        QVERIFY(wrong.body.contains("role=\"alert\""));

        const auto done = request(server.port(), "POST /api/auth/google/consent", formType,
                                  "state=" + state + "&email=g%40example.org");
        QCOMPARE(done.status, 303);
        const std::string start = "Location: quorvel://auth?accessToken=";
        const auto at = done.head.find(start);
        QVERIFY(at != std::string::npos);
        const auto query = done.head.substr(at + start.size(), done.head.find('\r', at) - at - start.size());
        const auto token = query.substr(0, query.find('&'));
        QVERIFY(query.contains("&refreshToken="));
        QCOMPARE(request(server.port(), "GET /api/auth/me", "Authorization: Bearer " + token + "\r\n").status, 200);
        QCOMPARE(request(server.port(), "GET /api/auth/google/consent?state=" + state).status, 400);
    }

    void consentPageExpires()
    {
        TestServer server;
        const auto state = consentState(server.port());
        server.clock().advance(std::chrono::minutes{10});
        QCOMPARE(request(server.port(), "GET /api/auth/google/consent?state=" + state).status, 400);
    }

    void uploadReachesTheExtractor()
    {
        const TestServer server;
        const auto reply = request(server.port(), "POST /api/profile/extract", multipartType,
                                   multipart("my \"best\" CV.txt", "text/plain", "some\r\n--text"));
        QCOMPARE(reply.status, 200);
        const boost::json::object expected{{"resumeSummary", "my \"best\" CV.txt"},
                                           {"keyterms", boost::json::array{"one", "two"}},
                                           {"characterCount", 12}};
        QCOMPARE(parseJsonObject(reply.body).value(), expected);
        QCOMPARE(
            request(server.port(), "POST /api/profile/extract", multipartType, multipart("a.png", "image/png", "x"))
                .status,
            415);
    }

    void uploadLimitIsTenMegabytes()
    {
        const TestServer server;
        const std::string most(RestApi::mostUploadBytes, 'x');
        QCOMPARE(
            request(server.port(), "POST /api/profile/extract", multipartType, multipart("a.txt", "text/plain", most))
                .status,
            200);
        const auto over = request(server.port(), "POST /api/profile/extract", multipartType,
                                  multipart("a.txt", "text/plain", most + "x"));
        QCOMPARE(over.status, 413);
        QCOMPARE(over.body, std::string("The file is larger than 10 MB."));
        const auto chunked =
            request(server.port(), "POST /api/auth/otp/verify",
                    jsonType + "Transfer-Encoding: chunked\r\n\r\n11000\r\n" + std::string(0x11000, 'x'));
        QCOMPARE(chunked.status, 413);
    }

    void badRequestsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QByteArray>("headers");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        const auto row = [](const char* name, const char* line, const std::string& headers, const char* body,
                            int status) {
            QTest::newRow(name) << QByteArray(line) << QByteArray::fromStdString(headers) << QByteArray(body) << status;
        };
        row("unknown path", "GET /", "", "", 404);
        row("path with a trailing slash", "GET /api/health/", "", "", 404);
        row("wrong method", "POST /api/health", "", "", 405);
        row("unknown method", "POAT /api/health", "", "", 405);
        row("wrong method of the socket", "POST /ws/realtime", "", "", 405);
        row("socket without upgrade", "GET /ws/realtime", "", "", 426);
        row("no content type", "POST /api/auth/otp/request", "", R"({"email":"a@b"})", 415);
        row("other content type", "POST /api/auth/otp/request", "Content-Type: text/plain\r\n", R"({"email":"a@b"})",
            415);
        row("no JSON", "POST /api/auth/otp/request", jsonType, "email", 400);
        row("no object", "POST /api/auth/otp/request", jsonType, "[]", 400);
        row("no e-mail", "POST /api/auth/otp/request", jsonType, "{}", 400);
        row("e-mail of another type", "POST /api/auth/otp/request", jsonType, R"({"email":1})", 400);
        row("e-mail without a name", "POST /api/auth/otp/request", jsonType, R"({"email":"@b"})", 400);
        row("e-mail with a line break", "POST /api/auth/otp/request", jsonType, R"({"email":"a\n@b"})", 400);
        row("deep JSON", "POST /api/auth/otp/request", jsonType,
            "{\"email\":[[[[[[[[[[[[[[[[[[[[1]]]]]]]]]]]]]]]]]]]]}", 400);
        row("no code", "POST /api/auth/otp/verify", jsonType, R"({"email":"a@b"})", 400);
        row("wrong code", "POST /api/auth/otp/verify", jsonType, R"({"email":"a@b","code":"000000"})", 401);
        row("wrong refresh token", "POST /api/auth/refresh", jsonType, R"({"refreshToken":"x"})", 401);
        row("wrong access token", "GET /api/auth/me", "Authorization: Bearer x\r\n", "", 401);
        row("other scheme", "GET /api/auth/me", "Authorization: Basic x\r\n", "", 401);
        row("consent without state", "GET /api/auth/google/consent", "", "", 400);
        row("consent of another type", "POST /api/auth/google/consent", jsonType, "{}", 415);
        row("consent form with a broken escape", "POST /api/auth/google/consent", formType, "state=%f", 400);
        row("another page's origin", "GET /api/health", "Origin: http://evil.example\r\n", "", 403);
        row("announced size too large", "POST /api/auth/otp/request", jsonType + "Content-Length: 70000\r\n", "", 413);
        row("upload of another type", "POST /api/profile/extract", jsonType, "{}", 415);
        row("upload without boundary", "POST /api/profile/extract", "Content-Type: multipart/form-data\r\n", "x", 400);
        row("upload without the boundary in its body", "POST /api/profile/extract", multipartType, "x", 400);
    }
    void badRequestsAreRefused()
    {
        QFETCH(QByteArray, line);
        QFETCH(QByteArray, headers);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        const TestServer server;
        const auto reply = request(server.port(), line.toStdString(), headers.toStdString(), body.toStdString());
        QCOMPARE(reply.status, status);
        QVERIFY2(reply.body.ends_with('.'), reply.body.c_str());
        QVERIFY(reply.head.contains("Content-Type: text/plain"));
        QCOMPARE(request(server.port(), "GET /api/health").status, 200);
    }

    void malformedHttpIsRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        QTest::newRow("nothing") << QByteArray() << 0;
        QTest::newRow("noise") << QByteArray("\x16\x03\x01\x02\x00\x01", 6) << 400;
        QTest::newRow("no version") << QByteArray("GET /api/health\r\n\r\n") << 400;
        QTest::newRow("other version") << QByteArray("GET /api/health HTTP/9.9\r\n\r\n") << 400;
        QTest::newRow("broken header") << QByteArray("GET /api/health HTTP/1.1\r\nHo st\r\n\r\n") << 400;
        QTest::newRow("two lengths")
            << QByteArray("POST /api/auth/otp/request HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n")
            << 400;
        QTest::newRow("length and chunks")
            << QByteArray(
                   "POST /api/auth/otp/request HTTP/1.1\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n")
            << 400;
        QTest::newRow("length no number")
            << QByteArray("POST /api/auth/otp/request HTTP/1.1\r\nContent-Length: x\r\n\r\n") << 400;
        QTest::newRow("header too long") << QByteArray("GET /api/health HTTP/1.1\r\nA: ") + QByteArray(20'000, 'a') +
                                                "\r\n\r\n"
                                         << 431;
        QTest::newRow("broken chunk") << QByteArray("POST /api/auth/otp/request HTTP/1.1\r\nContent-Type: "
                                                    "application/json\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n")
                                      << 400;
        QTest::newRow("body cut short") << QByteArray("POST /api/auth/otp/request HTTP/1.1\r\nContent-Type: "
                                                      "application/json\r\nContent-Length: 9\r\n\r\n{}")
                                        << 400;
    }
    void malformedHttpIsRefused()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, status);
        const TestServer server;
        QCOMPARE(converse(server.port(), bytes.toStdString()).status, status);
        QCOMPARE(request(server.port(), "GET /api/health").status, 200);
    }

    /// A page may call what it comes from, by an address or as this machine, and by no name that others can give it.
    void pagesAreKnownByTheirHost_data()
    {
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<QByteArray>("originHost");
        QTest::addColumn<int>("status");
        const auto row = [](const char* host, const char* originHost, int status) {
            QTest::addRow("%s from %s", host, originHost) << QByteArray(host) << QByteArray(originHost) << status;
        };
        row("127.0.0.1:8787", "127.0.0.1:8787", 200);
        row("localhost", "localhost", 200);
        row("[::1]:8787", "[::1]:8787", 200);
        row("[::1]", "[::1]", 200);
        row("127.0.0.1:8787", "127.0.0.1:9999", 403);
        row("evil.example:8787", "evil.example:8787", 403);
        row("127.0.0.1.evil.example", "127.0.0.1.evil.example", 403);
        row("localhost.evil.example", "localhost.evil.example", 403);
        row("", "", 403);
    }
    void pagesAreKnownByTheirHost()
    {
        QFETCH(QByteArray, host);
        QFETCH(QByteArray, originHost);
        QFETCH(int, status);
        const TestServer server;
        const QByteArray bytes = "GET /api/health HTTP/1.1\r\nConnection: close\r\nHost: " + host +
                                 "\r\nOrigin: http://" + originHost + "\r\n\r\n";
        QCOMPARE(converse(server.port(), bytes.toStdString()).status, status);
    }

    void formFields_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("plain") << QByteArray("token=abc") << QByteArray("abc");
        QTest::newRow("first counts") << QByteArray("x=1&token=a&token=b") << QByteArray("a");
        QTest::newRow("escapes") << QByteArray("token=%41%2b+%C3%BC") << QByteArray("A+ \xC3\xBC");
        QTest::newRow("escaped name") << QByteArray("%74oken=a") << QByteArray("a");
        QTest::newRow("no value") << QByteArray("token") << QByteArray("");
        QTest::newRow("equals in value") << QByteArray("token=a=b") << QByteArray("a=b");
        QTest::newRow("missing") << QByteArray("tok=1") << QByteArray();
        QTest::newRow("escape cut short") << QByteArray("token=%4") << QByteArray();
        QTest::newRow("no hexadecimal") << QByteArray("token=%zz") << QByteArray();
        QTest::newRow("not UTF-8") << QByteArray("token=%ff") << QByteArray();
        QTest::newRow("escaped NUL") << QByteArray("token=%00") << QByteArray();
        QTest::newRow("too many") << QByteArray("a&").repeated(33) + "token=1" << QByteArray();
    }
    void formFields()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, value);
        const auto fields = parseForm(text.toStdString());
        const auto found = fields ? formValue(*fields, "token") : std::nullopt;
        QCOMPARE(found.has_value(), !value.isNull());
        QCOMPARE(QByteArray::fromStdString(found.value_or("")), value.isNull() ? QByteArray("") : value);
    }

    void multipartBodies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("fileName");
        const QByteArray head = "--B\r\nContent-Disposition: form-data; name=\"resume\"; filename=\"a.txt\"\r\n\r\n";
        const QByteArray other = "--B\r\nContent-Disposition: form-data; name=\"note\"\r\n\r\nx\r\n";
        QTest::newRow("one part") << head + "abc\r\n--B--\r\n" << QByteArray("abc") << QByteArray("a.txt");
        QTest::newRow("preamble") << "hello\r\n" + head + "abc\r\n--B--" << QByteArray("abc") << QByteArray("a.txt");
        QTest::newRow("after another part")
            << other + head + "abc\r\n--B--" << QByteArray("abc") << QByteArray("a.txt");
        QTest::newRow("delimiter look-alike")
            << head + "a\r\n--A\r\nb\r\n--B--" << QByteArray("a\r\n--A\r\nb") << QByteArray("a.txt");
        QTest::newRow("empty file") << head + "\r\n--B--" << QByteArray("") << QByteArray("a.txt");
        QTest::newRow("path in the name")
            << QByteArray(
                   "--B\r\ncontent-disposition: form-data; filename=\"..\\../x.pdf\"; name=resume\r\n\r\nz\r\n--B--")
            << QByteArray("z") << QByteArray("x.pdf");
        QTest::newRow("no closing") << head + "abc" << QByteArray() << QByteArray();
        QTest::newRow("only other parts") << other + "--B--" << QByteArray() << QByteArray();
        QTest::newRow("headers cut short")
            << QByteArray("--B\r\nContent-Disposition: form-data; name=\"resume\"") << QByteArray() << QByteArray();
        QTest::newRow("too many parts") << other.repeated(17) + head + "abc\r\n--B--" << QByteArray() << QByteArray();
        QTest::newRow("endless headers") << "--B\r\nA: " + QByteArray(5000, 'a') + "\r\n\r\n"
                                         << QByteArray() << QByteArray();
        QTest::newRow("boundary alone") << QByteArray("--B") << QByteArray() << QByteArray();
    }
    void multipartBodies()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, fileName);
        const std::string text = body.toStdString();
        const auto file = resumePart(text, "B");
        QCOMPARE(file.has_value(), !content.isNull());
        if (file) {
            QCOMPARE(std::string(file->content), content.toStdString());
            QCOMPARE(file->fileName, fileName.toStdString());
        }
    }

    void stopEndsIdleConnections()
    {
        TestServer server;
        boost::asio::io_context context;
        boost::asio::ip::tcp::socket socket(context);
        socket.connect({boost::asio::ip::address_v4::loopback(), server.port()});
        QCOMPARE(request(server.port(), "GET /api/health").status, 200);
        server.stopAndWait();
        boost::system::error_code error;
        char byte = 0;
        QCOMPARE(socket.read_some(boost::asio::buffer(&byte, 1), error), 0U);
        QVERIFY(error);
    }
};

QTEST_APPLESS_MAIN(HttpTest)
#include "HttpTest.moc"
