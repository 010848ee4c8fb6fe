// Prints the answers to the interviews of the tests as a table, for judging by reading.

#include "answers/OfflineAnswerer.h"
#include "fixtures/Interviews.h"

#include <iomanip>
#include <iostream>

using namespace quorvel::localbackend;

int main()
{
    std::cout << std::fixed << std::setprecision(2);
    for (const auto& interview : interviews) {
        std::cout << "### " << interview.name
                  << "\n\n| Utterance | Intent | Confidence | Suggestion |\n|---|---|---|---|\n";
        const auto answers = OfflineAnswerer().brief({.userRole = "Candidate",
                                                      .meetingGoal = "",
                                                      .tone = "concise",
                                                      .resumeSummary = std::string(interview.resume),
                                                      .jobDescription = std::string(interview.job),
                                                      .sessionMode = interview.mode,
                                                      .keyterms = {}});
        for (const auto& line : interview.lines) {
            const auto answer = answers->answer(line.utterance, "");
            std::cout << "| " << line.utterance << " | " << intentName(answer.intent) << " | " << answer.confidence
                      << " | " << (answer.shouldRespond ? answer.text : "(none)") << " |\n";
        }
        std::cout << '\n';
    }
    return 0;
}
