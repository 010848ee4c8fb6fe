#include "platform/linux/desktop/SystemClock.h"

#include "support/EventLoop.h"

#include <QElapsedTimer>
#include <QTest>

#include <optional>
#include <stop_token>
#include <thread>

using namespace std::chrono_literals;

namespace quorvel::test {

namespace {

Task<> sleepInto(std::shared_ptr<platform::Clock> clock, std::chrono::milliseconds duration, std::stop_token stop,
                 std::shared_ptr<std::optional<Result<>>> outcome)
{
    Task<Result<>> sleep = clock->sleep(duration, stop);
    *outcome = co_await sleep;
}

} // namespace

class SystemClockTest final : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<platform::Clock> m_clock = std::make_shared<platform::SystemClock>();
    std::shared_ptr<std::optional<Result<>>> m_outcome;
    std::stop_source m_stop;

    void startSleeping(std::chrono::milliseconds duration)
    {
        launch(sleepInto(m_clock, duration, m_stop.get_token(), m_outcome));
    }
    [[nodiscard]] bool hasEnded() const { return m_outcome->has_value(); }
    [[nodiscard]] Result<> outcome() const { return m_outcome->value_or(std::unexpected(Failure())); }

private Q_SLOTS:
    void init()
    {
        m_outcome = std::make_shared<std::optional<Result<>>>();
        m_stop = std::stop_source();
    }

    void sleepLastsAtLeastItsDuration()
    {
        const auto before = std::chrono::steady_clock::now();
        startSleeping(40ms);
        QVERIFY(!hasEnded());
        QVERIFY(waitUntil([this] { return hasEnded(); }));
        QVERIFY(std::chrono::steady_clock::now() - before >= 40ms);
        QVERIFY(outcome());
    }

    void negativeDurationEndsAtOnce()
    {
        startSleeping(-5ms);
        QVERIFY(waitUntil([this] { return hasEnded(); }));
        QVERIFY(outcome());
    }

    void stopEndsTheSleep_data()
    {
        QTest::addColumn<bool>("before");
        QTest::addColumn<bool>("fromAnotherThread");
        QTest::newRow("stopped before it began") << true << false;
        QTest::newRow("on this thread") << false << false;
        QTest::newRow("on another thread") << false << true;
    }
    void stopEndsTheSleep()
    {
        QFETCH(bool, before);
        QFETCH(bool, fromAnotherThread);
        if (before) {
            m_stop.request_stop();
        }
        startSleeping(std::chrono::hours(24 * 365)); // more milliseconds than an int holds
        if (fromAnotherThread) {
            std::jthread([this] { m_stop.request_stop(); }).join();
        } else {
            m_stop.request_stop();
        }
        QVERIFY(waitUntil([this] { return hasEnded(); }));
        QVERIFY(!outcome());
        QCOMPARE(outcome().error().code, errorCode(platform::PlatformError::cancelled));
    }
};

} // namespace quorvel::test

QTEST_GUILESS_MAIN(quorvel::test::SystemClockTest)
#include "SystemClockTest.moc"
