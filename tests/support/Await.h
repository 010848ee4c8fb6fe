#pragma once

#include "platform/Task.h"
#include "support/EventLoop.h"

#include <memory>
#include <optional>
#include <utility>

namespace quorvel::test {

/// How an operation ended, once it has; it can be looked at while the operation runs.
template <typename T>
using Outcome = std::shared_ptr<std::optional<T>>;

template <typename T>
Task<> storeOutcome(Task<T> task, Outcome<T> outcome)
{
    outcome->emplace(co_await task);
}

template <typename T>
[[nodiscard]] Outcome<T> watch(Task<T> task)
{
    const auto outcome = std::make_shared<std::optional<T>>();
    launch(storeOutcome(std::move(task), outcome));
    return outcome;
}

/// Runs the event loop until the operation has ended. One that does not end within 10 s yields an empty outcome, on
/// which the test fails.
template <typename T>
[[nodiscard]] std::optional<T> await(Task<T> task)
{
    const Outcome<T> outcome = watch(std::move(task));
    [[maybe_unused]] const bool hasEnded = waitUntil([&outcome] { return outcome->has_value(); });
    return *outcome;
}

/// What the user reads of an operation: its failure's sentence, or nothing.
template <typename T>
[[nodiscard]] QString sentenceOf(const std::optional<Result<T>>& outcome)
{
    if (!outcome) {
        return QStringLiteral("(has not ended)");
    }
    return outcome->has_value() ? QString() : outcome->error().description;
}

} // namespace quorvel::test
