#pragma once

#include "platform/Result.h"

#include <QCoroFuture>
#include <QCoroTask>
#include <QPromise>

#include <utility>

namespace quorvel {

/// An operation of the main thread that suspends. It starts at once, runs on without its owner and never throws.
template <typename T = void>
using Task = QCoro::Task<T>;

/// Starts an operation whose end nobody waits for.
template <typename T>
void launch(Task<T> /*running*/)
{
}

namespace platform {

/// One result, handed in once from any thread and awaited once on the main thread. A promise that is destroyed without
/// a result yields the failure "cancelled", so that nobody waits for ever.
template <typename T = void>
class Promise
{
public:
    Promise() { m_promise.start(); }
    ~Promise() { finish(std::unexpected(cancelledFailure())); }
    Promise(const Promise&) = delete;
    Promise(Promise&&) = delete;
    Promise& operator=(const Promise&) = delete;
    Promise& operator=(Promise&&) = delete;

    /// The first call counts; later ones have no effect.
    void finish(Result<T> result)
    {
        if (!m_promise.future().isFinished()) {
            m_promise.addResult(std::move(result));
            m_promise.finish();
        }
    }

    [[nodiscard]] Task<Result<T>> result() { return awaitFuture(m_promise.future()); }

private:
    static Task<Result<T>> awaitFuture(QFuture<Result<T>> future)
    {
        co_await qCoro(future).waitForFinished();
        co_return future.takeResult();
    }

    QPromise<Result<T>> m_promise;
};

} // namespace platform
} // namespace quorvel
