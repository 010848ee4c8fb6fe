#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <functional>
#include <utility>

namespace quorvel::localbackend {

template <typename T>
[[nodiscard]] boost::asio::awaitable<T> callJob(std::function<T()> job)
{
    co_return job();
}

/// Runs a blocking job on another executor and resumes on the caller's own.
template <typename T, typename Executor>
[[nodiscard]] boost::asio::awaitable<T> runOn(Executor executor, std::function<T()> job)
{
    auto call = callJob<T>(std::move(job));
    co_return co_await boost::asio::co_spawn(executor, std::move(call), boost::asio::use_awaitable);
}

} // namespace quorvel::localbackend
