#include "platform/linux/capture/ProcessFilter.h"

#include <utility>

namespace quorvel::platform {

ProcessTree::ProcessTree(const std::vector<std::int64_t>& roots, ProcessTable table)
    : m_table(std::move(table))
{
    for (const std::int64_t root : roots) {
        if (const auto process = m_table.find(root)) {
            m_members.insert(process->identity);
        }
    }
}

bool ProcessTree::contains(std::int64_t processId)
{
    constexpr int deepest = 256; // a table that changes while it is read could lead around for ever
    std::optional<ProcessIdentity> first;
    for (int depth = 0; depth < deepest && processId > 0; ++depth) {
        const auto process = m_table.find(processId);
        if (!process) {
            return false;
        }
        if (!first) {
            first = process->identity;
        }
        if (m_members.contains(process->identity)) {
            m_members.insert(*first);
            return true;
        }
        processId = process->parent;
    }
    return false;
}

ProcessFilter::ProcessFilter(std::optional<ProcessTree> included, ProcessTree excluded)
    : m_included(std::move(included))
    , m_excluded(std::move(excluded))
{
}

bool ProcessFilter::accepts(std::int64_t processId)
{
    return (!m_included || m_included->contains(processId)) && !m_excluded.contains(processId);
}

} // namespace quorvel::platform
