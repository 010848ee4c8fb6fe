#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvel::localbackend {

enum class SessionMode : std::uint8_t { HR, Technical };

/// What the user told the application about the interview.
struct MeetingContext
{
    std::string userRole;
    std::string meetingGoal;
    std::string tone;
    std::string resumeSummary;
    std::string jobDescription;
    SessionMode sessionMode = SessionMode::HR;
    std::vector<std::string> keyterms;
};

} // namespace quorvel::localbackend
