#include "platform/linux/capture/ProcessTable.h"

#include <QFile>

#include <charconv>
#include <system_error>
#include <utility>

namespace quorvel::platform {

namespace {

/// The number at the start of `text`; nothing when there is none.
template <typename Number>
std::optional<Number> numberAt(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

/// The field of a space-separated line, counted from 0.
std::string_view field(std::string_view line, int index)
{
    for (; index > 0; --index) {
        const std::size_t space = line.find(' ');
        if (space == std::string_view::npos) {
            return {};
        }
        line.remove_prefix(space + 1);
    }
    return line.substr(0, line.find(' '));
}

} // namespace

ProcessTable::ProcessTable(std::filesystem::path root)
    : m_root(std::move(root))
{
}

std::optional<ProcessTable::Process> ProcessTable::find(std::int64_t processId) const
{
    const std::string stat = read(processId, "stat");
    // The program's name stands in parentheses and may hold anything, parentheses included.
    const std::size_t nameEnd = stat.rfind(") ");
    if (nameEnd == std::string::npos) {
        return std::nullopt;
    }
    const std::string_view afterName = std::string_view(stat).substr(nameEnd + 2);
    const auto parent = numberAt<std::int64_t>(field(afterName, 1));
    const auto startTime = numberAt<std::uint64_t>(field(afterName, 19));
    if (!parent || !startTime) {
        return std::nullopt;
    }
    return Process{.identity = {.processId = processId, .startTime = *startTime}, .parent = *parent};
}

std::string ProcessTable::programName(std::int64_t processId) const
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink(file(processId, "exe"), error);
    std::string name = program.filename().string();
    constexpr std::string_view replacedMark = " (deleted)"; // the file was updated while the program runs
    if (name.ends_with(replacedMark)) {
        name.resize(name.size() - replacedMark.size());
    }
    return name;
}

std::optional<std::int64_t> ProcessTable::findByClaim(std::int64_t claimedId, std::string_view program) const
{
    const auto isClaimed = [this, claimedId, program](std::int64_t candidate) {
        return innermostId(candidate) == claimedId && (program.empty() || programName(candidate) == program);
    };
    if (isClaimed(claimedId)) {
        return claimedId;
    }
    std::optional<std::int64_t> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(m_root, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const auto candidate = numberAt<std::int64_t>(entry->path().filename().native());
        if (candidate && isClaimed(*candidate)) {
            if (found) {
                return std::nullopt;
            }
            found = candidate;
        }
    }
    return found;
}

std::filesystem::path ProcessTable::file(std::int64_t processId, std::string_view name) const
{
    return m_root / std::to_string(processId) / name;
}

std::string ProcessTable::read(std::int64_t processId, std::string_view name) const
{
    // The process may end while its file is read, which a standard stream answers with an exception.
    QFile stream(file(processId, name));
    return stream.open(QIODevice::ReadOnly) ? stream.readAll().toStdString() : std::string();
}

std::int64_t ProcessTable::innermostId(std::int64_t processId) const
{
    // "NSpid:" is followed by the process's number in every process-number namespace, from ours inward.
    const std::string status = read(processId, "status");
    constexpr std::string_view label = "\nNSpid:";
    const std::size_t start = status.find(label);
    if (start == std::string::npos) {
        return status.empty() ? 0 : processId;
    }
    std::string_view line = std::string_view(status).substr(start + label.size());
    line = line.substr(0, line.find('\n'));
    return numberAt<std::int64_t>(line.substr(line.find_last_of('\t') + 1)).value_or(0);
}

} // namespace quorvel::platform
