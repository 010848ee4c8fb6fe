#include "FuzzInput.h"
#include "profile/Digest.h"
#include "profile/Extractors.h"
#include "support/Text.h"

using namespace quorvel::localbackend;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = fuzzText(data, size);
    for (const auto& text : {textOfDocx(input), textOfPlain(input)}) {
        if (!text)
            continue;
        require(isUtf8(*text));
        const auto summary = summaryOf(*text);
        require(isUtf8(summary) && summary.size() <= 6000);
        require(keytermsOf(*text).size() <= 40);
    }
    return 0;
}
