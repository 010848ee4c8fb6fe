#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::platform {

/// One process, told apart from a later one with the same number by when it started.
struct ProcessIdentity
{
    std::int64_t processId = 0;
    std::uint64_t startTime = 0; ///< clock ticks since boot

    friend auto operator<=>(const ProcessIdentity&, const ProcessIdentity&) = default;
};

/// Reads what the kernel tells about processes. Any thread.
class ProcessTable
{
public:
    explicit ProcessTable(std::filesystem::path root = "/proc");

    struct Process
    {
        ProcessIdentity identity;
        std::int64_t parent = 0;
    };

    /// Nothing when there is no such process.
    [[nodiscard]] std::optional<Process> find(std::int64_t processId) const;

    /// The file name of the program that the process runs; empty when it may not be known.
    [[nodiscard]] std::string programName(std::int64_t processId) const;

    /// The process that calls itself `claimedId` and runs `program`. In a sandbox with process numbers of its own that
    /// is another number than ours. Nothing when there is none, or more than one.
    [[nodiscard]] std::optional<std::int64_t> findByClaim(std::int64_t claimedId, std::string_view program) const;

private:
    [[nodiscard]] std::filesystem::path file(std::int64_t processId, std::string_view name) const;
    [[nodiscard]] std::string read(std::int64_t processId, std::string_view name) const;
    /// The process's own idea of its number.
    [[nodiscard]] std::int64_t innermostId(std::int64_t processId) const;

    std::filesystem::path m_root;
};

} // namespace quorvel::platform
