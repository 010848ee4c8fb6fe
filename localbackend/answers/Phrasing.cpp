#include "answers/Phrasing.h"

#include "answers/Sentences.h"
#include "support/Text.h"

#include <algorithm>
#include <array>

namespace quorvel::localbackend {

namespace {

constexpr auto pastVerbs = std::to_array<std::string_view>(
    {"led",    "built",   "wrote", "ran",     "drove",   "grew",    "cut",      "won",      "made",  "set",
     "taught", "oversaw", "began", "brought", "kept",    "held",    "took",     "sold",     "found", "gave",
     "met",    "spoke",   "spent", "chose",   "rebuilt", "rewrote", "overcame", "undertook"});

constexpr auto positionWords = std::to_array<std::string_view>(
    {"engineer",   "developer",      "manager",   "analyst",       "designer",   "architect",   "director",
     "lead",       "consultant",     "scientist", "administrator", "specialist", "coordinator", "assistant",
     "officer",    "intern",         "teacher",   "nurse",         "accountant", "founder",     "head",
     "programmer", "representative", "associate", "supervisor",    "tester"});

constexpr auto outcomeWords = std::to_array<std::string_view>(
    {"cutting",   "reducing", "increasing", "raising",  "improving", "saving",     "lowering",
     "growing",   "doubling", "halving",    "tripling", "bringing",  "resulting",  "leading",
     "achieving", "enabling", "which",      "making",   "winning",   "shortening", "so",
     "freeing",   "speeding", "generating", "ending",   "boosting",  "delivering", "decreasing"});

constexpr auto describingWords =
    std::to_array<std::string_view>({"experienced", "certified", "registered", "skilled", "motivated", "dedicated",
                                     "licensed", "qualified", "accomplished", "talented", "seasoned", "chartered",
                                     "unlimited", "advanced", "applied", "distributed", "embedded", "related"});

template <typename Words>
bool contains(const Words& words, std::string_view word)
{
    return std::ranges::find(words, word) != words.end();
}

std::string firstWord(std::string_view text)
{
    return std::string(text.substr(0, text.find_first_of(" ,:;/")));
}

/// "which was adopted" as a sentence of its own.
std::string asSentence(std::string_view clause)
{
    constexpr std::string_view relative = "which ";
    return clause.starts_with(relative) ? "it " + std::string(clause.substr(relative.size())) : std::string(clause);
}

} // namespace

bool tellsAnAction(std::string_view sentence)
{
    const auto words = wordsOf(sentence.substr(0, sentence.find(',')));
    if (words.empty())
        return false;
    const auto& first = words.front();
    if (contains(pastVerbs, first))
        return true;
    constexpr std::size_t shortestRegular = 4;
    // "Registered nurse" and "Experienced in retail" tell what somebody is.
    const bool describes = contains(describingWords, first) || (words.size() > 1 && contains(positionWords, words[1]));
    return first.size() > shortestRegular && first.ends_with("ed") && !describes;
}

bool namesAPosition(std::string_view sentence)
{
    constexpr std::size_t mostWords = 14;
    const auto words = wordsOf(sentence);
    const auto first = words.empty() ? std::string() : words.front();
    if (words.size() > mostWords || contains(pastVerbs, first))
        return false;
    return std::ranges::any_of(
        words, [](const std::string& word) { return std::ranges::find(positionWords, word) != positionWords.end(); });
}

bool looksLikeAName(std::string_view sentence)
{
    constexpr std::size_t mostWords = 4;
    const auto words = splitTrimmed(sentence, " ");
    const auto isNamePart = [](std::string_view word) {
        return word.front() >= 'A' && word.front() <= 'Z' && !contains(positionWords, lowerCased(word));
    };
    return words.size() > 1 && words.size() <= mostWords && std::ranges::all_of(words, isNamePart);
}

Achievement splitAchievement(std::string_view sentence)
{
    for (std::size_t at = sentence.find(','); at != std::string_view::npos; at = sentence.find(',', at + 1)) {
        const auto rest = trimmed(sentence.substr(at + 1));
        auto word = lowerCased(firstWord(rest));
        const auto after = word == "and" ? trimmed(rest.substr(3)) : rest;
        if (word == "and")
            word = lowerCased(firstWord(after));
        if (contains(outcomeWords, word))
            return {.action = std::string(trimmed(sentence.substr(0, at))), .result = asSentence(after)};
    }
    for (const std::string_view separator :
         {" resulting in ", " which ", " cutting ", " reducing ", " increasing ", " saving ", " improving "}) {
        if (const auto at = sentence.find(separator); at != std::string_view::npos) {
            return {.action = std::string(trimmed(sentence.substr(0, at))),
                    .result = asSentence(trimmed(sentence.substr(at)))};
        }
    }
    return {.action = std::string(sentence), .result = {}};
}

std::string lowerStart(std::string_view text)
{
    std::string result{text};
    const auto first = firstWord(text);
    const auto capitals = std::ranges::count_if(first, [](char c) { return c >= 'A' && c <= 'Z'; });
    if (capitals == 1 && first.size() > 1 && result.front() >= 'A' && result.front() <= 'Z')
        result.front() = static_cast<char>(result.front() - 'A' + 'a');
    return result;
}

std::string upperStart(std::string_view text)
{
    std::string result{text};
    if (!result.empty() && result.front() >= 'a' && result.front() <= 'z')
        result.front() = static_cast<char>(result.front() - 'a' + 'A');
    return result;
}

std::string spoken(std::string_view sentence)
{
    const auto first = lowerCased(firstWord(sentence));
    if (first == "i" || first == "i'm" || first == "my")
        return std::string(sentence);
    if (tellsAnAction(sentence))
        return "I " + lowerStart(sentence);
    return "my resume says: " + std::string(sentence);
}

} // namespace quorvel::localbackend
