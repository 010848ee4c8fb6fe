#pragma once

#include <chrono>
#include <functional>

namespace quorvel::localbackend {

using WallTime = std::chrono::sys_seconds;
using SteadyTime = std::chrono::steady_clock::time_point;

/// Where time comes from, so that tests can move it. Both functions are called on any thread.
struct Clock
{
    std::function<WallTime()> wall = [] {
        return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    };
    std::function<SteadyTime()> steady = [] { return std::chrono::steady_clock::now(); };
};

} // namespace quorvel::localbackend
