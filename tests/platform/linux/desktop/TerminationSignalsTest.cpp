#include "platform/linux/desktop/TerminationSignals.h"

#include "support/EventLoop.h"

#include <QTest>

#include <csignal>

using namespace quorvel;

class TerminationSignalsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void callsTheMainThread_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("TERM") << SIGTERM;
        QTest::newRow("INT") << SIGINT;
        QTest::newRow("HUP") << SIGHUP;
    }

    void callsTheMainThread()
    {
        QFETCH(int, signal);
        int calls = 0;
        {
            const platform::TerminationSignals terminationSignals([&calls] { ++calls; });
            QCOMPARE(raise(signal), 0);
            QCOMPARE(calls, 0); // not inside the signal handler
            QCOMPARE(raise(signal), 0);
            QVERIFY(test::waitUntil([&calls] { return calls == 1; }));
            test::settle();
            QCOMPARE(calls, 1);
        }
        struct sigaction action = {};
        QCOMPARE(sigaction(signal, nullptr, &action), 0);
        QVERIFY(action.sa_handler == SIG_DFL);
    }
};

QTEST_GUILESS_MAIN(TerminationSignalsTest)
#include "TerminationSignalsTest.moc"
