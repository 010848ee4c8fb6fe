#include "accounts/OneTimeCodes.h"

#include "support/Secrets.h"

#include <utility>

namespace quorvel::localbackend {

OneTimeCodes::OneTimeCodes(Clock clock, CodeSource newCode)
    : m_clock(std::move(clock))
    , m_newCode(std::move(newCode))
{
}

void OneTimeCodes::forgetOldRequests(Entry& entry, SteadyTime now)
{
    while (!entry.requests.empty() && entry.requests.front() + lifetime <= now)
        entry.requests.pop_front();
}

void OneTimeCodes::forgetExpired(SteadyTime now)
{
    // Looking through all addresses at every request would let a flood of requests slow everybody down.
    if (now < m_nextSweep)
        return;
    m_nextSweep = now + sweepInterval;
    for (auto& [email, entry] : m_entries)
        forgetOldRequests(entry, now);
    std::erase_if(m_entries, [](const auto& item) { return item.second.requests.empty(); });
}

Result<std::string> OneTimeCodes::issue(const std::string& email)
{
    const SteadyTime now = m_clock.steady();
    forgetExpired(now);
    const auto known = m_entries.find(email);
    if (known != m_entries.end())
        forgetOldRequests(known->second, now);
    if (known == m_entries.end() && m_entries.size() >= mostAddresses)
        return failed(Fault::TooMany, "Too many sign-ins are under way. Try again in ten minutes.");
    if (known != m_entries.end() && known->second.requests.size() >= mostRequests)
        return failed(Fault::TooMany,
                      "Too many codes were requested for this e-mail address. Try again in ten minutes.");

    auto code = m_newCode();
    if (!code)
        return code;
    Entry& entry = m_entries[email];
    entry.codeHash = sha256Hex(*code);
    entry.expiry = now + lifetime;
    entry.tries = 0;
    entry.requests.push_back(now);
    return code;
}

Result<void> OneTimeCodes::verify(const std::string& email, const std::string& code)
{
    const auto found = m_entries.find(email);
    if (found == m_entries.end() || found->second.codeHash.empty() || found->second.expiry <= m_clock.steady())
        return failed(Fault::Unauthorized, "There is no valid code for this e-mail address. Request a new one.");
    Entry& entry = found->second;
    if (entry.tries >= mostTries)
        return failed(Fault::Unauthorized, "This code was tried too often. Request a new one.");
    ++entry.tries;
    if (!equalInConstantTime(entry.codeHash, sha256Hex(code)))
        return failed(Fault::Unauthorized, "The code is wrong.");
    // The entry stays until its requests have aged: a used code must not open the way around the rate limit.
    entry.codeHash.clear();
    return {};
}

} // namespace quorvel::localbackend
