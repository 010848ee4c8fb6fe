#include "platform/MainThread.h"
#include "platform/Task.h"
#include "support/EventLoop.h"

#include <QTest>
#include <QThread>

#include <thread>
#include <vector>

using namespace quorvel;
using platform::MainThread;
using platform::Promise;

namespace {

struct Receiver
{
    explicit Receiver(std::vector<int>* calls)
        : received(calls)
    {
    }
    ~Receiver() { destroyedOn = QThread::currentThread(); }
    Receiver(const Receiver&) = delete;
    Receiver(Receiver&&) = delete;
    Receiver& operator=(const Receiver&) = delete;
    Receiver& operator=(Receiver&&) = delete;

    void take(int value) const { received->push_back(value); }

    std::vector<int>* received;
    static inline QThread* destroyedOn = nullptr;
};

Task<> awaitInto(std::shared_ptr<Promise<QString>> promise, std::optional<Result<QString>>* outcome)
{
    Task<Result<QString>> result = promise->result();
    promise.reset();
    *outcome = co_await result;
}

} // namespace

class AsynchronyTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void postsInOrderAndNeverInside()
    {
        std::vector<int> ran;
        for (int number = 0; number < 3; ++number) {
            m_mainThread->post([&ran, number] { ran.push_back(number); });
        }
        QVERIFY(ran.empty());
        test::settle();
        QCOMPARE(ran, (std::vector{0, 1, 2}));
    }

    void bringsCallbacksOfAnotherThreadHome()
    {
        constexpr int count = 10'000;
        std::vector<int> received;
        const auto receiver = std::make_shared<Receiver>(&received);
        {
            std::jthread producer(
                [callback = platform::weakCallback(m_mainThread, std::weak_ptr(receiver), &Receiver::take)] {
                    for (int value = 0; value < count; ++value) {
                        callback(value);
                    }
                });
        }
        QVERIFY(received.empty());
        test::settle();
        QCOMPARE(received.size(), std::size_t(count));
        QVERIFY(std::ranges::is_sorted(received));
    }

    void callsNobodyWhoIsGone()
    {
        std::vector<int> received;
        auto receiver = std::make_shared<Receiver>(&received);
        const auto callback = platform::weakCallback(m_mainThread, std::weak_ptr(receiver), &Receiver::take);
        callback(1);
        receiver.reset();
        callback(2);
        test::settle();
        QVERIFY(received.empty());
        QCOMPARE(Receiver::destroyedOn, QThread::currentThread());
    }

    void promiseEnds_data()
    {
        QTest::addColumn<bool>("fromAnotherThread");
        QTest::addColumn<bool>("beforeItIsAwaited");
        QTest::newRow("later") << false << false;
        QTest::newRow("before") << false << true;
        QTest::newRow("later, other thread") << true << false;
        QTest::newRow("before, other thread") << true << true;
    }

    void promiseEnds()
    {
        QFETCH(bool, fromAnotherThread);
        QFETCH(bool, beforeItIsAwaited);
        const auto promise = std::make_shared<Promise<QString>>();
        const auto finish = [&] {
            if (fromAnotherThread) {
                std::jthread([&] { promise->finish(QStringLiteral("done")); }).join();
            } else {
                promise->finish(QStringLiteral("done"));
            }
            promise->finish(QStringLiteral("too late"));
        };
        std::optional<Result<QString>> outcome;
        if (beforeItIsAwaited) {
            finish();
        }
        launch(awaitInto(promise, &outcome));
        if (!beforeItIsAwaited) {
            test::settle();
            QVERIFY(!outcome);
            finish();
        }
        test::settle();
        QCOMPARE(outcome, Result<QString>(QStringLiteral("done")));
    }

    void droppedPromiseIsCancelled()
    {
        std::optional<Result<QString>> outcome;
        launch(awaitInto(std::make_shared<Promise<QString>>(), &outcome));
        test::settle();
        QCOMPARE(outcome, Result<QString>(std::unexpected(platform::cancelledFailure())));
        QVERIFY(!platform::cancelledFailure().description.isEmpty());
    }

private:
    std::shared_ptr<MainThread> m_mainThread = std::make_shared<MainThread>();
};

QTEST_GUILESS_MAIN(AsynchronyTest)
#include "AsynchronyTest.moc"
