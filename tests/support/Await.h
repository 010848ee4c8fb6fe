#pragma once

#include "platform/Task.h"
#include "support/EventLoop.h"

#include <memory>
#include <utility>

namespace quorvel::test {

/// How an operation ended. Until it has, it looks like one that failed, so that a test that does not wait fails too.
template <typename T>
class Ending
{
public:
    void emplace(T result)
    {
        m_result = std::move(result);
        m_hasEnded = true;
    }

    [[nodiscard]] bool has_value() const { return m_hasEnded; }
    explicit operator bool() const { return m_hasEnded; }
    [[nodiscard]] const T& value() const { return m_result; }
    const T& operator*() const { return m_result; }
    const T* operator->() const { return &m_result; }

private:
    T m_result = std::unexpected(Failure{.code = {}, .description = QStringLiteral("(has not ended)")});
    bool m_hasEnded = false;
};

/// An ending that can be looked at while the operation runs.
template <typename T>
using Outcome = std::shared_ptr<Ending<T>>;

template <typename T>
Task<> storeOutcome(Task<T> task, Outcome<T> outcome)
{
    outcome->emplace(co_await task);
}

template <typename T>
[[nodiscard]] Outcome<T> watch(Task<T> task)
{
    const auto outcome = std::make_shared<Ending<T>>();
    launch(storeOutcome(std::move(task), outcome));
    return outcome;
}

/// Runs the event loop until the operation has ended. One that does not end within 10 s yields an ending that
/// has not come, on which the test fails.
template <typename T>
[[nodiscard]] Ending<T> await(Task<T> task)
{
    const Outcome<T> outcome = watch(std::move(task));
    [[maybe_unused]] const bool hasEnded = waitUntil([&outcome] { return outcome->has_value(); });
    return *outcome;
}

/// What the user reads of an operation: its failure's sentence, or nothing.
template <typename T>
[[nodiscard]] QString sentenceOf(const Ending<Result<T>>& outcome)
{
    return outcome->has_value() ? QString() : outcome->error().description;
}

} // namespace quorvel::test
