#include "support/Log.h"

#include <array>
#include <cstdio>

namespace quorvel::localbackend {

namespace {

constexpr std::array<std::string_view, 4> levelNames{"error", "warning", "info", "debug"};

void writeToStandardError(std::string_view line)
{
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

std::optional<LogLevel> logLevelNamed(std::string_view name)
{
    for (std::size_t i = 0; i < levelNames.size(); ++i) {
        if (levelNames.at(i) == name)
            return static_cast<LogLevel>(i);
    }
    return std::nullopt;
}

Log::Log(LogLevel threshold)
    : Log(threshold, writeToStandardError)
{
}

Log::Log(LogLevel threshold, Sink sink)
    : m_threshold(threshold)
    , m_sink(std::move(sink))
{
}

void Log::write(LogLevel level, std::string_view text) const
{
    if (level > m_threshold)
        return;
    std::string line{levelNames.at(static_cast<std::size_t>(level))};
    line += ": ";
    // What arrived from outside may end up in a line: keep it one line.
    for (const char c : text)
        line += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    line += '\n';
    m_sink(line);
}

} // namespace quorvel::localbackend
