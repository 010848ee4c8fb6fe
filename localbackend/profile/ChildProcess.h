#pragma once

#include "support/Result.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace quorvel::localbackend {

/// What a child process may use.
struct ChildLimits
{
    std::chrono::milliseconds wallClock{4000};
    unsigned processorSeconds = 3;
    std::size_t memoryBytes = std::size_t{512} * 1024 * 1024; ///< address space
    std::size_t fileBytes = std::size_t{16} * 1024 * 1024;    ///< of each file it writes
    std::size_t outputBytes = std::size_t{2} * 1024 * 1024;   ///< of its standard output
};

/// How a child process ended.
struct ChildOutcome
{
    int exitCode = -1; ///< -1 when a signal ended it
    bool timedOut = false;
    bool outputCut = false; ///< it wrote more than the limit and was ended
    std::string output;
};

/// Runs a program without a shell, with an empty environment, standard input and error closed off, in the given working
/// directory, and waits for it. It and everything it started has ended when this returns. Fails with Unavailable when
/// it cannot be started. Blocks; safe on any thread.
[[nodiscard]] Result<ChildOutcome> runChild(std::vector<std::string> command, const std::filesystem::path& directory,
                                            const ChildLimits& limits);

} // namespace quorvel::localbackend
