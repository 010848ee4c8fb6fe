#include "suggestions/Debouncer.h"
#include "suggestions/RateLimiter.h"
#include "support/EventLoop.h"
#include "support/FakeClock.h"

#include <QTest>

#include <vector>

using namespace quorvel;
using namespace std::chrono_literals;

namespace {

Task<> record(std::vector<int>* ran, int number)
{
    ran->push_back(number);
    co_return;
}

Task<> runInSlot(RateLimiter* limiter, std::shared_ptr<test::FakeClock> clock, std::vector<Timestamp>* runs)
{
    co_await limiter->waitForSlot();
    runs->push_back(clock->now());
}

} // namespace

class PacingTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_clock = std::make_shared<test::FakeClock>(); }

    void debouncerRunsTheLastOfABurst()
    {
        Debouncer debouncer(m_clock);
        std::vector<int> ran;
        for (int number = 0; number < 5; ++number) {
            debouncer.schedule(300ms, [&ran, number] { return record(&ran, number); });
            pass(299ms);
        }
        QVERIFY(ran.empty());
        pass(1ms);
        QCOMPARE(ran, std::vector{4});
        debouncer.schedule(300ms, [&ran] { return record(&ran, 5); });
        pass(300ms);
        QCOMPARE(ran, (std::vector{4, 5}));
    }

    void debouncerDropsWhatIsCancelled_data()
    {
        QTest::addColumn<bool>("destroys");
        QTest::newRow("cancel") << false;
        QTest::newRow("destruction") << true;
    }

    void debouncerDropsWhatIsCancelled()
    {
        QFETCH(bool, destroys);
        std::vector<int> ran;
        auto debouncer = std::make_unique<Debouncer>(m_clock);
        debouncer->cancel();
        debouncer->schedule(10ms, [&ran] { return record(&ran, 1); });
        // The delay ends, and only then, before the operation had its turn, it is withdrawn.
        m_clock->advance(10ms);
        if (destroys) {
            debouncer.reset();
        } else {
            debouncer->cancel();
        }
        pass(10ms);
        QVERIFY(ran.empty());
    }

    void limiterSpacesRunsInTurn()
    {
        RateLimiter limiter(1.2, m_clock);
        std::vector<Timestamp> runs;
        const Timestamp start = m_clock->now();
        for (int caller = 0; caller < 3; ++caller) {
            launch(runInSlot(&limiter, m_clock, &runs));
        }
        test::settle();
        for (int step = 0; step < 30; ++step) {
            pass(100ms);
        }
        QCOMPARE(runs, (std::vector<Timestamp>{start, start + 1200ms, start + 2400ms}));
        pass(10s);
        launch(runInSlot(&limiter, m_clock, &runs));
        test::settle();
        QCOMPARE(runs.back(), m_clock->now());
    }

    void limiterSurvivesAClockThatIsSetBack()
    {
        RateLimiter limiter(1.2, m_clock);
        std::vector<Timestamp> runs;
        launch(runInSlot(&limiter, m_clock, &runs));
        m_clock->set(m_clock->now() - 24h);
        launch(runInSlot(&limiter, m_clock, &runs));
        launch(runInSlot(&limiter, m_clock, &runs));
        pass(1200ms);
        QCOMPARE(runs.size(), 2U);
        pass(1200ms);
        QCOMPARE(runs.size(), 3U);
    }

    void limiterMayGoWhileSomebodyWaits()
    {
        auto limiter = std::make_unique<RateLimiter>(1.2, m_clock);
        std::vector<Timestamp> runs;
        launch(runInSlot(limiter.get(), m_clock, &runs));
        launch(runInSlot(limiter.get(), m_clock, &runs));
        limiter.reset();
        pass(1200ms);
        QCOMPARE(runs.size(), 2U);
    }

private:
    void pass(std::chrono::milliseconds duration)
    {
        m_clock->advance(duration);
        test::settle();
    }

    std::shared_ptr<test::FakeClock> m_clock;
};

QTEST_GUILESS_MAIN(PacingTest)
#include "PacingTest.moc"
