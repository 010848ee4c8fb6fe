#include "platform/linux/desktop/SessionBusInstance.h"

#include "XClient.h"
#include "platform/linux/desktop/AddressArguments.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QTest>
#include <QWindow>

#include <algorithm>
#include <array>
#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;

namespace quorvel::test {

class SessionBusInstanceTest final : public QObject
{
    Q_OBJECT

private:
    static std::unique_ptr<QProcess> start(const QStringList& arguments, const QString& bus = {})
    {
        auto process = std::make_unique<QProcess>();
        if (!bus.isEmpty()) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus);
            process->setProcessEnvironment(environment);
        }
        process->setProgram(QStringLiteral(INSTANCE_PROBE));
        process->setArguments(arguments);
        process->start();
        return process;
    }

    static QString nextLine(QProcess& process)
    {
        while (!process.canReadLine() && process.waitForReadyRead(10'000)) {
        }
        return QString::fromUtf8(process.readLine()).trimmed();
    }

    static QStringList nextLines(QProcess& process, int count)
    {
        QStringList lines;
        while (lines.size() < count) {
            lines << nextLine(process);
        }
        return lines;
    }

    static QDBusMessage call(const QString& method, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(u"com.quorvel.Test"_s, u"/com/quorvel/Test"_s,
                                                              u"org.freedesktop.Application"_s, method);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message);
    }

private Q_SLOTS:
    void secondProcessHandsOverAndLeaves()
    {
        const auto first = start({u"quorvel://auth?accessToken=secret1"_s});
        QCOMPARE(nextLines(*first, 3),
                 (QStringList{u"first"_s, u"own quorvel://auth?accessToken=secret1"_s, u"secrets 0"_s}));

        // Letter for letter, in order, and twice if it comes twice.
        const QStringList addresses{u"quorvel://auth?accessToken=a%2Bb&refreshToken=%C3%BC"_s, u"QUORVEL://AUTH"_s,
                                    u"quorvel:"_s, u"quorvel://auth?a=b c"_s, u"quorvel:"_s};
        const auto second = start(addresses);
        QCOMPARE(nextLine(*second), u"second"_s);
        QVERIFY(second->waitForFinished());
        QCOMPARE(second->exitCode(), 0);
        QCOMPARE(nextLine(*first), u"activate"_s);
        for (const QString& address : addresses) {
            QCOMPARE(nextLine(*first), u"open "_s + address);
        }

        const auto third = start({});
        QCOMPARE(nextLine(*third), u"second"_s);
        QCOMPARE(nextLine(*first), u"activate"_s);
        QVERIFY(third->waitForFinished());

        first->terminate();
        QVERIFY(first->waitForFinished());
        const auto next = start({});
        QCOMPARE(nextLine(*next), u"first"_s);
        next->kill();
        QVERIFY(next->waitForFinished());
    }

    void launchersReachIt()
    {
        const auto first = start({});
        QCOMPARE(nextLines(*first, 2), (QStringList{u"first"_s, u"secrets 0"_s}));
        const QVariantMap data{{u"desktop-startup-id"_s, u"x"_s}};

        QCOMPARE(call(u"Activate"_s, {data}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(nextLine(*first), u"activate"_s);
        QCOMPARE(call(u"ActivateAction"_s, {u"any"_s, QVariantList(), data}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(nextLine(*first), u"activate"_s);
        // What is too long or too much is dropped, and the rest still arrives.
        QStringList many(40, u"quorvel:many"_s);
        many[1] = u"quorvel:"_s + QString(20'000, u'x');
        QCOMPARE(call(u"Open"_s, {many, data}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(nextLine(*first), u"activate"_s);
        QCOMPARE(nextLines(*first, 15), QStringList(15, u"open quorvel:many"_s));

        // Calls that are none of the interface's change nothing.
        QCOMPARE(call(u"Open"_s, {u"quorvel:text"_s, data}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(call(u"Open"_s, {}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(call(u"Close"_s, {data}).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(call(u"Activate"_s, {data}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(nextLine(*first), u"activate"_s);
        first->kill();
        QVERIFY(first->waitForFinished());
    }

    void withoutABusItRunsAlone()
    {
        const auto process = start({u"quorvel://auth"_s}, u"unix:path=/nowhere"_s);
        QCOMPARE(nextLines(*process, 2), (QStringList{u"alone"_s, u"own quorvel://auth"_s}));
        process->terminate();
        QVERIFY(process->waitForFinished());
    }

    void hungFirstProcessDoesNotStopTheSecond()
    {
        const auto first = start({});
        QCOMPARE(nextLine(*first), u"first"_s);
        QVERIFY(kill(static_cast<pid_t>(first->processId()), SIGSTOP) == 0);
        const auto second = start({u"quorvel:x"_s});
        QCOMPARE(nextLine(*second), u"alone"_s);
        QCOMPARE(nextLine(*second), u"own quorvel:x"_s);
        for (QProcess* const process : {first.get(), second.get()}) {
            process->kill();
            QVERIFY(process->waitForFinished());
        }
    }

    void argumentsAreTakenAndWiped()
    {
        std::array texts{QByteArray("quorvel:program"), QByteArray("-platform"), QByteArray("QuorVel:one"),
                         QByteArray("quorvels:no"),     QByteArray("xcb"),       QByteArray("quorvel:two")};
        std::array<char*, texts.size() + 1> argv{};
        std::ranges::transform(texts, argv.begin(), [](QByteArray& text) { return text.data(); });
        int argc = texts.size();

        QCOMPARE(platform::takeAddressArguments(argc, argv.data(), u"quorvel"_s),
                 (QStringList{u"QuorVel:one"_s, u"quorvel:two"_s}));

        QCOMPARE(argc, 4);
        QCOMPARE(QByteArray(argv[0]), QByteArray("quorvel:program"));
        QCOMPARE(QByteArray(argv[3]), QByteArray("xcb"));
        QCOMPARE(argv[4], nullptr);
        QCOMPARE(texts[2], QByteArray(11, '\0'));
        QCOMPARE(texts[5], QByteArray(11, '\0'));
    }

    void windowComesToTheFront_data()
    {
        QTest::addColumn<bool>("isMinimized");
        QTest::newRow("behind another") << false;
        QTest::newRow("minimized") << true;
    }
    void windowComesToTheFront()
    {
        QFETCH(bool, isMinimized);
        const XClient client;
        QWindow window;
        window.setGeometry(100, 100, 300, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const auto number = static_cast<xcb_window_t>(window.winId());
        const xcb_window_t other = client.makeWindow(QRect(100, 100, 400, 300));
        QTRY_VERIFY(client.isViewable(other));
        client.activate(other);
        QTRY_COMPARE(client.focus(), other);
        if (isMinimized) {
            window.showMinimized();
            QTRY_VERIFY(!client.isViewable(number));
        }

        platform::SessionBusInstance(u"com.quorvel.Test"_s).bringToFront(window);

        QTRY_COMPARE(client.focus(), number);
        QVERIFY(client.isViewable(number));
        QVERIFY(client.isAbove(number, other));
    }
};

} // namespace quorvel::test

QTEST_MAIN(quorvel::test::SessionBusInstanceTest)
#include "SessionBusInstanceTest.moc"
