#pragma once

#include "support/Clock.h"
#include "support/Result.h"

#include <deque>
#include <functional>
#include <map>
#include <string>

namespace quorvel::localbackend {

/// The one-time codes that are valid at the moment, in memory only: a restart makes all of them invalid.
class OneTimeCodes
{
public:
    /// How long a code is valid, how often it may be tried, and how many codes one address gets in that time.
    static constexpr std::chrono::minutes lifetime{10};
    static constexpr int mostTries = 5;
    static constexpr std::size_t mostRequests = 5;
    /// Bounds the memory that requests for invented addresses can take.
    static constexpr std::size_t mostAddresses = 10'000;

    using CodeSource = std::function<Result<std::string>()>;

    OneTimeCodes(Clock clock, CodeSource newCode);

    /// A new code for the address, which replaces an earlier one. Fails with TooMany.
    [[nodiscard]] Result<std::string> issue(const std::string& email);

    /// Uses the code up. Fails with Unauthorized when it is wrong, expired, used, or was tried too often.
    [[nodiscard]] Result<void> verify(const std::string& email, const std::string& code);

private:
    struct Entry
    {
        std::string codeHash;
        SteadyTime expiry;
        int tries = 0;
        std::deque<SteadyTime> requests;
    };

    static constexpr std::chrono::seconds sweepInterval{10};

    static void forgetOldRequests(Entry& entry, SteadyTime now);
    void forgetExpired(SteadyTime now);

    Clock m_clock;
    CodeSource m_newCode;
    std::map<std::string, Entry> m_entries;
    SteadyTime m_nextSweep;
};

} // namespace quorvel::localbackend
