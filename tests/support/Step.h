#pragma once

#include "platform/Task.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quorvel::test {

[[nodiscard]] inline Failure failure(const QString& description)
{
    return {.code = errorCode(platform::PlatformError::failed), .description = description};
}

/// One suspended operation of a fake. It succeeds at once with the prepared value, unless a test makes it fail or holds
/// it until it says how it ends.
template <typename T = void>
class Step
{
public:
    explicit Step(Result<T> result = Result<T>())
        : m_result(std::move(result))
    {
    }

    void setResult(Result<T> result) { m_result = std::move(result); }
    void failWith(const QString& description) { m_result = std::unexpected(failure(description)); }

    /// From now on calls wait.
    void hold() { m_isHeld = true; }
    /// Ends the waiting calls and lets later ones through.
    void release(Result<T> result)
    {
        m_result = std::move(result);
        release();
    }
    void release()
    {
        m_isHeld = false;
        for (const auto& waiting : std::exchange(m_waiting, {})) {
            waiting->finish(m_result);
        }
    }

    [[nodiscard]] int calls() const { return m_calls; }
    [[nodiscard]] bool isWaiting() const { return !m_waiting.empty(); }

    [[nodiscard]] Task<Result<T>> run()
    {
        ++m_calls;
        const auto promise = std::make_shared<platform::Promise<T>>();
        if (m_isHeld) {
            m_waiting.push_back(promise);
        } else {
            promise->finish(m_result);
        }
        return promise->result();
    }

private:
    Result<T> m_result;
    bool m_isHeld = false;
    int m_calls = 0;
    std::vector<std::shared_ptr<platform::Promise<T>>> m_waiting;
};

} // namespace quorvel::test
