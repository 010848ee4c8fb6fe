#include "server/Options.h"
#include "server/Program.h"

#include <csignal>
#include <iostream>
#include <span>
#include <string_view>
#include <vector>

using namespace quorvel::localbackend;

namespace {

/// Reads the block that the program was started with, so that nothing depends on what others set later.
Environment environmentIn(const std::span<char*> block)
{
    return [block](std::string_view name) -> std::string {
        for (const std::string_view entry : block) {
            if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=')
                return std::string(entry.substr(name.size() + 1));
        }
        return {};
    };
}

} // namespace

int main(int argc, char** argv, char** environmentBlock)
{
    // A peer that leaves while it is written to must not end the program.
    std::signal(SIGPIPE, SIG_IGN);
    std::size_t variables = 0;
    while (environmentBlock[variables] != nullptr)
        ++variables;
    const Environment environment = environmentIn({environmentBlock, variables});
    const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
    const auto options = parseOptions(arguments, environment);
    if (!options) {
        std::cerr << "quorvel-backend: " << options.error().sentence << '\n';
        return 2;
    }
    switch (options->action) {
    case Options::Action::ShowHelp:
        std::cout << helpText();
        return 0;
    case Options::Action::ShowVersion:
        std::cout << "quorvel-backend " QUORVEL_VERSION "\n";
        return 0;
    case Options::Action::Serve:
        break;
    }
    const Log log(options->logLevel);
    if (const auto served = serve(*options, environment, log); !served) {
        std::cerr << "quorvel-backend: " << served.error().sentence << '\n';
        return 1;
    }
    return 0;
}
