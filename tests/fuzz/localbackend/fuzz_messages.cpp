#include "FuzzInput.h"
#include "realtime/Messages.h"

using namespace quorvel::localbackend;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto message = parseClientMessage(fuzzText(data, size));
    if (!message)
        require(message.error().sentence.ends_with('.'));
    else if (const auto* start = std::get_if<SessionStart>(&*message))
        require(start->context.keyterms.size() <= ContextLimits::keyterms);
    return 0;
}
