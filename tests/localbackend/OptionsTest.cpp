#include "server/Options.h"

#include <QTest>

#include <map>

using namespace quorvel::localbackend;

namespace {

Result<Options> parsed(const QList<QByteArray>& arguments, const std::map<std::string, std::string>& variables)
{
    std::vector<std::string> texts;
    for (const auto& argument : arguments)
        texts.push_back(argument.toStdString());
    const std::vector<std::string_view> views(texts.begin(), texts.end());
    return parseOptions(views, [&](std::string_view name) {
        const auto found = variables.find(std::string(name));
        return found == variables.end() ? std::string() : found->second;
    });
}

const std::map<std::string, std::string> home{{"HOME", "/home/x"}};

} // namespace

class OptionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaultsListenOnLoopback()
    {
        const auto options = parsed({}, home);
        QVERIFY(options);
        QCOMPARE(options->address, std::string("127.0.0.1"));
        QCOMPARE(options->port, 8787);
        QCOMPARE(options->stateDirectory.string(), std::string("/home/x/.local/state/quorvel-backend"));
        QVERIFY(!options->flags.disableAuth && !options->flags.disableAdminAuth);
        QCOMPARE(parsed({}, {{"HOME", "/h"}, {"XDG_STATE_HOME", "/s"}})->stateDirectory.string(),
                 std::string("/s/quorvel-backend"));
        QCOMPARE(parsed({}, {{"HOME", "/h"}, {"STATE_DIRECTORY", "/d"}})->stateDirectory.string(), std::string("/d"));
    }

    void optionsAreTaken()
    {
        const auto options = parsed({"--listen=[::1]:99", "--disable-auth", "--state-dir", "/tmp/s",
                                     "--log-level=debug", "--disable-admin-auth"},
                                    {});
        QVERIFY(options);
        QCOMPARE(options->address, std::string("::1"));
        QCOMPARE(options->port, 99);
        QCOMPARE(options->stateDirectory.string(), std::string("/tmp/s"));
        QVERIFY(options->flags.disableAuth && options->flags.disableAdminAuth);
        QVERIFY(options->logLevel == LogLevel::Debug);
        QVERIFY(parsed({"--version"}, {})->action == Options::Action::ShowVersion);
        QVERIFY(parsed({"--help", "--nonsense"}, {})->action == Options::Action::ShowHelp);
    }

    void wrongOptionsAreRefused_data()
    {
        QTest::addColumn<QList<QByteArray>>("arguments");
        const auto row = [](const char* name, const QList<QByteArray>& arguments) { QTest::newRow(name) << arguments; };
        row("unknown", {"--fast"});
        row("no option", {"serve"});
        row("value missing", {"--listen"});
        row("flag with a value", {"--disable-auth=yes"});
        row("no port", {"--listen", "127.0.0.1"});
        row("no address", {"--listen", ":80"});
        row("port too large", {"--listen", "127.0.0.1:65536"});
        row("port with a sign", {"--listen", "127.0.0.1:+80"});
        row("bare IPv6 address", {"--listen", "::1:80"});
        row("level unknown", {"--log-level", "loud"});
        row("empty state directory", {"--state-dir="});
    }
    void wrongOptionsAreRefused()
    {
        QFETCH(QList<QByteArray>, arguments);
        const auto options = parsed(arguments, home);
        QVERIFY(!options);
        QVERIFY(options.error().sentence.ends_with('.') && !options.error().sentence.contains('\n'));
    }

    void homelessProgramNeedsAStateDirectory()
    {
        QVERIFY(!parsed({}, {}));
        QVERIFY(parsed({"--state-dir=/tmp"}, {}));
    }

    void socketIsTakenOver_data()
    {
        QTest::addColumn<QByteArray>("pid");
        QTest::addColumn<QByteArray>("count");
        QTest::addColumn<int>("descriptor");
        QTest::newRow("none") << QByteArray() << QByteArray() << -1;
        QTest::newRow("one") << QByteArray("42") << QByteArray("1") << 3;
        QTest::newRow("for another process") << QByteArray("41") << QByteArray("1") << -1;
        QTest::newRow("no number") << QByteArray("42") << QByteArray("x") << -1;
        QTest::newRow("two") << QByteArray("42") << QByteArray("2") << -2;
    }
    void socketIsTakenOver()
    {
        QFETCH(QByteArray, pid);
        QFETCH(QByteArray, count);
        QFETCH(int, descriptor);
        const auto socket = handedOverSocket(
            [&](std::string_view name) { return name == "LISTEN_PID" ? pid.toStdString() : count.toStdString(); }, 42);
        QCOMPARE(socket.value_or(-2), descriptor);
    }
};

QTEST_APPLESS_MAIN(OptionsTest)
#include "OptionsTest.moc"
