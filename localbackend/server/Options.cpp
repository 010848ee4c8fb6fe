#include "server/Options.h"

#include <charconv>
#include <optional>

namespace quorvel::localbackend {

namespace {

constexpr std::string_view help = R"(Usage: quorvel-backend [OPTION]...
Serves Quorvel on this machine: sign-in, resume extraction and realtime sessions.

  --listen ADDRESS:PORT   where to listen (default 127.0.0.1:8787; an IPv6 address
                          stands in brackets); a socket that a service manager
                          hands over is used instead
  --state-dir DIRECTORY   where accounts are kept (default $STATE_DIRECTORY, else
                          $XDG_STATE_HOME/quorvel-backend, else
                          ~/.local/state/quorvel-backend)
  --disable-auth          serve everybody as a fixed development user
  --disable-admin-auth    with --disable-auth: that user is an administrator
  --log-level LEVEL       error, warning, info (default) or debug
  --help                  show this help
  --version               show the version
)";

template <typename Number>
std::optional<Number> numberIn(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

Result<void> setListen(Options& options, std::string_view value)
{
    const auto colon = value.rfind(':');
    const auto port =
        colon == std::string_view::npos ? std::nullopt : numberIn<unsigned short>(value.substr(colon + 1));
    auto address = value.substr(0, std::min(colon, value.size()));
    const bool bracketed = address.size() > 2 && address.front() == '[' && address.back() == ']';
    if (bracketed)
        address = address.substr(1, address.size() - 2);
    if (!port || address.empty() || bracketed != address.contains(':'))
        return failed(Fault::Invalid, "--listen takes ADDRESS:PORT, for example 127.0.0.1:8787.");
    options.address = address;
    options.port = *port;
    return {};
}

Result<void> setValue(Options& options, std::string_view name, std::string_view value)
{
    if (name == "--listen")
        return setListen(options, value);
    if (name == "--state-dir") {
        if (value.empty())
            return failed(Fault::Invalid, "--state-dir takes a directory.");
        options.stateDirectory = value;
        return {};
    }
    const auto level = logLevelNamed(value);
    if (!level)
        return failed(Fault::Invalid, "--log-level takes error, warning, info or debug.");
    options.logLevel = *level;
    return {};
}

std::filesystem::path defaultStateDirectory(const Environment& environment)
{
    if (const auto given = environment("STATE_DIRECTORY"); !given.empty())
        return given;
    if (const auto base = environment("XDG_STATE_HOME"); !base.empty())
        return std::filesystem::path(base) / "quorvel-backend";
    if (const auto home = environment("HOME"); !home.empty())
        return std::filesystem::path(home) / ".local/state/quorvel-backend";
    return {};
}

} // namespace

Result<Options> parseOptions(std::span<const std::string_view> arguments, const Environment& environment)
{
    Options options;
    options.stateDirectory = defaultStateDirectory(environment);
    while (!arguments.empty()) {
        std::string_view name = arguments.front();
        arguments = arguments.subspan(1);
        if (name == "--help" || name == "--version") {
            options.action = name == "--help" ? Options::Action::ShowHelp : Options::Action::ShowVersion;
            return options;
        }
        if (name == "--disable-auth") {
            options.flags.disableAuth = true;
            continue;
        }
        if (name == "--disable-admin-auth") {
            options.flags.disableAdminAuth = true;
            continue;
        }
        std::optional<std::string_view> value;
        if (const auto equals = name.find('='); equals != std::string_view::npos) {
            value = name.substr(equals + 1);
            name = name.substr(0, equals);
        }
        if (name != "--listen" && name != "--state-dir" && name != "--log-level")
            return failed(Fault::Invalid, "Unknown option " + std::string(name) + ". Try --help.");
        if (!value && !arguments.empty()) {
            value = arguments.front();
            arguments = arguments.subspan(1);
        }
        if (!value)
            return failed(Fault::Invalid, std::string(name) + " needs a value. Try --help.");
        if (const auto set = setValue(options, name, *value); !set)
            return std::unexpected(set.error());
    }
    if (options.stateDirectory.empty())
        return failed(Fault::Invalid, "There is no home directory for the state; name one with --state-dir.");
    return options;
}

std::string_view helpText()
{
    return help;
}

Result<int> handedOverSocket(const Environment& environment, int processId)
{
    constexpr int firstDescriptor = 3;
    if (numberIn<int>(environment("LISTEN_PID")) != processId)
        return -1;
    const auto count = numberIn<int>(environment("LISTEN_FDS")).value_or(0);
    if (count > 1)
        return failed(Fault::Invalid, "The service manager handed over more than one socket.");
    return count == 1 ? firstDescriptor : -1;
}

} // namespace quorvel::localbackend
