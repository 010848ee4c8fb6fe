#include "FuzzInput.h"
#include "server/Options.h"

#include <vector>

using namespace quorvel::localbackend;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = fuzzText(data, size);
    std::string_view rest = input;
    std::vector<std::string_view> arguments;
    while (!rest.empty())
        arguments.push_back(takePart(rest));
    const auto options = parseOptions(arguments, [](std::string_view) { return std::string("/state"); });
    require(options || options.error().sentence.ends_with('.'));
    return 0;
}
