#include "profile/Digest.h"
#include "support/Text.h"

#include <algorithm>
#include <array>
#include <map>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t mostTerms = 40;
constexpr std::size_t longestTerm = 60;

/// Capitalised words that open lines and sentences or name what every resume has.
constexpr auto ordinary = std::to_array<std::string_view>({"a",
                                                           "about",
                                                           "an",
                                                           "and",
                                                           "as",
                                                           "at",
                                                           "by",
                                                           "for",
                                                           "from",
                                                           "i",
                                                           "in",
                                                           "of",
                                                           "on",
                                                           "or",
                                                           "the",
                                                           "to",
                                                           "with",
                                                           "my",
                                                           "we",
                                                           "january",
                                                           "february",
                                                           "march",
                                                           "april",
                                                           "may",
                                                           "june",
                                                           "july",
                                                           "august",
                                                           "september",
                                                           "october",
                                                           "november",
                                                           "december",
                                                           "jan",
                                                           "feb",
                                                           "mar",
                                                           "apr",
                                                           "jun",
                                                           "jul",
                                                           "aug",
                                                           "sep",
                                                           "sept",
                                                           "oct",
                                                           "nov",
                                                           "dec",
                                                           "present",
                                                           "today",
                                                           "current",
                                                           "experience",
                                                           "education",
                                                           "skills",
                                                           "summary",
                                                           "profile",
                                                           "projects",
                                                           "references",
                                                           "languages",
                                                           "resume",
                                                           "curriculum",
                                                           "vitae",
                                                           "phone",
                                                           "email",
                                                           "address",
                                                           "page",
                                                           "work",
                                                           "employment",
                                                           "professional",
                                                           "technical",
                                                           "contact",
                                                           "certifications"});

constexpr auto skillHeadings = std::to_array<std::string_view>({"skills", "technical skills", "technologies", "tools",
                                                                "languages", "programming languages", "key skills",
                                                                "core skills", "frameworks", "databases", "platforms"});

bool isUpper(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool isOrdinary(std::string_view word)
{
    return std::ranges::find(ordinary, lowerCased(word)) != ordinary.end();
}

/// "C++", "SQL", "PostgreSQL", "k8s", "Node.js": spelled as names of tools are.
bool looksTechnical(std::string_view word)
{
    const auto inner = word.substr(std::min<std::size_t>(1, word.size()));
    const bool innerUpper = std::ranges::any_of(inner, isUpper);
    const bool sign = word.size() > 1 && (inner.contains('+') || inner.contains('#') || inner.contains('.'));
    const bool digit = std::ranges::any_of(word, [](char c) { return c >= '0' && c <= '9'; }) &&
                       std::ranges::any_of(word, [](char c) { return (c >= 'a' && c <= 'z') || isUpper(c); });
    return innerUpper || sign || digit;
}

class Terms
{
public:
    void add(std::string_view term, int weight)
    {
        term = trimmed(term);
        if (term.empty() || term.size() > longestTerm || isOrdinary(term) || term.contains('@'))
            return;
        auto& entry = m_entries[lowerCased(term)];
        if (entry.weight == 0) {
            entry.term = term;
            entry.position = m_entries.size();
        }
        entry.weight += weight;
    }

    [[nodiscard]] std::vector<std::string> best() const
    {
        std::vector<Entry> entries;
        entries.reserve(m_entries.size());
        for (const auto& [key, entry] : m_entries)
            entries.push_back(entry);
        std::ranges::sort(entries, [](const Entry& a, const Entry& b) {
            return a.weight != b.weight ? a.weight > b.weight : a.position < b.position;
        });
        std::vector<std::string> terms;
        for (const auto& entry : entries) {
            if (entry.weight > 1 && terms.size() < mostTerms)
                terms.push_back(entry.term);
        }
        return terms;
    }

private:
    struct Entry
    {
        std::string term;
        int weight = 0;
        std::size_t position = 0;
    };
    std::map<std::string, Entry> m_entries;
};

std::string_view withoutPunctuation(std::string_view word)
{
    constexpr std::string_view around = "()[]{},;:!?\"'*";
    const auto first = word.find_first_not_of(around);
    if (first == std::string_view::npos)
        return {};
    word = word.substr(first, word.find_last_not_of(around) - first + 1);
    return word.ends_with('.') ? word.substr(0, word.size() - 1) : word;
}

/// Whether the line lists skills, and what it lists: "Skills: C++, Python" or the lines below such a heading.
std::string_view listedSkills(std::string_view line, bool& inSkills)
{
    const auto colon = line.find(':');
    const auto head = lowerCased(trimmed(line.substr(0, colon)));
    const bool skillHeading = std::ranges::find(skillHeadings, head) != skillHeadings.end();
    if (skillHeading) {
        inSkills = colon == std::string_view::npos || trimmed(line.substr(colon + 1)).empty();
        return colon == std::string_view::npos ? std::string_view{} : line.substr(colon + 1);
    }
    if (inSkills && line.contains(','))
        return colon == std::string_view::npos ? line : line.substr(colon + 1);
    inSkills = false;
    return {};
}

} // namespace

std::vector<std::string> keytermsOf(std::string_view text)
{
    constexpr int listed = 6;
    constexpr int technical = 2;
    constexpr int capitalised = 1;
    Terms terms;
    bool inSkills = false;
    for (const auto line : splitTrimmed(text, "\n\f")) {
        if (line.contains('@') || line.contains("://"))
            continue;
        for (const auto skill : splitTrimmed(listedSkills(line, inSkills), ",;|"))
            terms.add(withoutPunctuation(skill), listed);
        bool lineStart = true;
        for (const auto raw : splitTrimmed(line, " \t/")) {
            const auto word = withoutPunctuation(raw);
            if (word.size() > 1 && looksTechnical(word))
                terms.add(word, technical);
            else if (!lineStart && word.size() > 2 && isUpper(word.front()))
                terms.add(word, capitalised);
            lineStart = raw.ends_with('.');
        }
    }
    return terms.best();
}

} // namespace quorvel::localbackend
