#include "FuzzInput.h"
#include "answers/OfflineAnswerer.h"

using namespace quorvel::localbackend;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = fuzzText(data, size);
    std::string_view rest = input;
    MeetingContext context;
    context.sessionMode = size % 2 == 0 ? SessionMode::HR : SessionMode::Technical;
    context.tone = takePart(rest);
    context.resumeSummary = takePart(rest);
    context.jobDescription = takePart(rest);
    const std::string utterance{takePart(rest)};
    const auto answer = OfflineAnswerer().brief(context)->answer(utterance, rest);
    require(answer.shouldRespond != answer.text.empty());
    require(answer.confidence >= 0 && answer.confidence <= 1);
    return 0;
}
