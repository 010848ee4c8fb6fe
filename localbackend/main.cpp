#include "server/Options.h"
#include "server/Program.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <vector>

using namespace quorvel::localbackend;

int main(int argc, char** argv)
{
    // A peer that leaves while it is written to must not end the program.
    std::signal(SIGPIPE, SIG_IGN);
    const Environment environment = [](const char* name) {
        const char* value = std::getenv(name);
        return value == nullptr ? std::string() : std::string(value);
    };
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
