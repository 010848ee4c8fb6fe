#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quorvel::localbackend {

enum class LogLevel : std::uint8_t { Error, Warning, Info, Debug };

/// The level of that name ("error", "warning", "info", "debug"), or none.
[[nodiscard]] std::optional<LogLevel> logLevelNamed(std::string_view name);

/// Writes lines "level: text" to a sink. Secrets must never reach it: callers log paths without their query, and e-mail
/// addresses, codes, tokens and spoken text not at all. Thread-safe as far as the sink is; the default sink writes each
/// line to the standard error stream in one call.
class Log
{
public:
    using Sink = std::function<void(std::string_view line)>;

    explicit Log(LogLevel threshold);
    Log(LogLevel threshold, Sink sink);

    void error(std::string_view text) const { write(LogLevel::Error, text); }
    void warning(std::string_view text) const { write(LogLevel::Warning, text); }
    void info(std::string_view text) const { write(LogLevel::Info, text); }
    void debug(std::string_view text) const { write(LogLevel::Debug, text); }

private:
    void write(LogLevel level, std::string_view text) const;

    LogLevel m_threshold;
    Sink m_sink;
};

} // namespace quorvel::localbackend
