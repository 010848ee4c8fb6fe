// Prints the answers to the interviews of the tests as a table, for judging by reading.

#include "answers/OfflineAnswerer.h"
#include "fixtures/Interviews.h"

#include <cstdio>

using namespace quorvel::localbackend;

int main()
{
    for (const auto& interview : interviews) {
        std::printf("### %s\n\n| Utterance | Intent | Confidence | Suggestion |\n|---|---|---|---|\n",
                    interview.name.data());
        const auto answers = OfflineAnswerer().brief({.userRole = "Candidate",
                                                      .meetingGoal = "",
                                                      .tone = "concise",
                                                      .resumeSummary = std::string(interview.resume),
                                                      .jobDescription = std::string(interview.job),
                                                      .sessionMode = interview.mode,
                                                      .keyterms = {}});
        for (const auto& line : interview.lines) {
            const auto answer = answers->answer(line.utterance, "");
            std::printf("| %s | %s | %.2f | %s |\n", line.utterance.data(), intentName(answer.intent).data(),
                        answer.confidence, answer.shouldRespond ? answer.text.c_str() : "(none)");
        }
        std::printf("\n");
    }
    return 0;
}
