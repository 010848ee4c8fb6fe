#pragma once

#include "platform/linux/capture/ProcessTable.h"

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace quorvel::platform {

/// Some processes and all their descendants. A process once found in the tree stays in it, and so do its children, when
/// the processes above it have ended. One thread at a time.
class ProcessTree
{
public:
    ProcessTree(const std::vector<std::int64_t>& roots, ProcessTable table);

    [[nodiscard]] bool contains(std::int64_t processId);

private:
    ProcessTable m_table;
    std::set<ProcessIdentity> m_members;
};

/// Tells whose sound is captured. One thread at a time.
class ProcessFilter
{
public:
    /// Without an included tree every process is, but for those of the excluded one.
    ProcessFilter(std::optional<ProcessTree> included, ProcessTree excluded);

    [[nodiscard]] bool accepts(std::int64_t processId);

private:
    std::optional<ProcessTree> m_included;
    ProcessTree m_excluded;
};

} // namespace quorvel::platform
