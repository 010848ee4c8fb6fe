#pragma once

#include "http/RestApi.h"
#include "support/Log.h"
#include "support/Result.h"

#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// What the command line asks for.
struct Options
{
    enum class Action : std::uint8_t { Serve, ShowHelp, ShowVersion };

    Action action = Action::Serve;
    std::string address = "127.0.0.1"; ///< an IPv4 or IPv6 address
    unsigned short port = 8787;
    std::filesystem::path stateDirectory;
    DevelopmentFlags flags;
    LogLevel logLevel = LogLevel::Info;
};

/// Reads an environment variable; empty when it is not set.
using Environment = std::function<std::string(std::string_view name)>;

/// Reads the arguments after the program's name. Fails with Invalid and one line for the user.
[[nodiscard]] Result<Options> parseOptions(std::span<const std::string_view> arguments, const Environment& environment);

/// The text of --help.
[[nodiscard]] std::string_view helpText();

/// The listening socket that a service manager handed over (the protocol of sd_listen_fds), or -1. Fails with Invalid
/// when it handed over more than one.
[[nodiscard]] Result<int> handedOverSocket(const Environment& environment, int processId);

} // namespace quorvel::localbackend
