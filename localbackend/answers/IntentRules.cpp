#include "answers/IntentRules.h"

#include "answers/Sentences.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace quorvel::localbackend {

namespace {

using Phrases = std::span<const std::string_view>;

constexpr auto fillers = std::to_array<std::string_view>(
    {"so",    "and",  "okay",   "ok",      "well", "um",          "uh",        "now", "alright", "right",
     "great", "then", "yeah",   "yes",     "cool", "perfect",     "oh",        "hi",  "hello",   "hey",
     "good",  "nice", "thanks", "awesome", "sure", "fine",        "i",         "see", "very",    "thank",
     "you",   "mm",   "hmm",    "got",     "it",   "interesting", "excellent", "the", "a"});

constexpr auto replySmallTalk = std::to_array<std::string_view>({"how are you",
                                                                 "how is it going",
                                                                 "hows it going",
                                                                 "how do you do",
                                                                 "how have you been",
                                                                 "how was your day",
                                                                 "how was your weekend",
                                                                 "how was your trip",
                                                                 "how is your day",
                                                                 "hows your day",
                                                                 "how is the weather",
                                                                 "hows the weather",
                                                                 "nice to meet you",
                                                                 "good to meet you",
                                                                 "great to meet you",
                                                                 "pleasure to meet you",
                                                                 "nice meeting you",
                                                                 "good morning",
                                                                 "good afternoon",
                                                                 "good evening",
                                                                 "can you hear me",
                                                                 "thanks for joining",
                                                                 "thank you for joining",
                                                                 "thanks for coming",
                                                                 "thank you for coming",
                                                                 "thanks for taking the time",
                                                                 "thank you for your time",
                                                                 "did you find us",
                                                                 "have a great day",
                                                                 "have a good day",
                                                                 "have a nice day"});

constexpr auto clarifications = std::to_array<std::string_view>({"what do you mean",
                                                                 "what did you mean",
                                                                 "can you repeat",
                                                                 "could you repeat",
                                                                 "can you clarify",
                                                                 "could you clarify",
                                                                 "say that again",
                                                                 "can you elaborate",
                                                                 "could you elaborate",
                                                                 "please elaborate",
                                                                 "can you be more specific",
                                                                 "could you be more specific",
                                                                 "more detail",
                                                                 "more details",
                                                                 "i didnt catch",
                                                                 "i did not catch",
                                                                 "i dont follow",
                                                                 "i do not follow",
                                                                 "im not following",
                                                                 "i dont understand",
                                                                 "i do not understand",
                                                                 "not sure i follow",
                                                                 "not sure i understand",
                                                                 "not sure what you mean",
                                                                 "tell me more about that",
                                                                 "say more about that",
                                                                 "can you explain that",
                                                                 "could you explain that",
                                                                 "what exactly do you mean",
                                                                 "can you unpack"});

constexpr auto objections = std::to_array<std::string_view>({"im not convinced",
                                                             "i am not convinced",
                                                             "not sure that would work",
                                                             "not sure that works",
                                                             "im not sure about that",
                                                             "i dont agree",
                                                             "i do not agree",
                                                             "i disagree",
                                                             "i dont think",
                                                             "i do not think",
                                                             "that seems",
                                                             "that sounds risky",
                                                             "that sounds expensive",
                                                             "that wont work",
                                                             "that would not work",
                                                             "that wouldnt work",
                                                             "my concern",
                                                             "im concerned",
                                                             "i am concerned",
                                                             "were concerned",
                                                             "we are concerned",
                                                             "im worried",
                                                             "i am worried",
                                                             "were worried",
                                                             "the problem is",
                                                             "the problem with",
                                                             "you dont have",
                                                             "you do not have",
                                                             "you lack",
                                                             "you have not",
                                                             "you havent",
                                                             "you seem overqualified",
                                                             "overqualified",
                                                             "too junior",
                                                             "too senior",
                                                             "not enough experience",
                                                             "little experience",
                                                             "too expensive",
                                                             "too slow",
                                                             "too complex",
                                                             "too risky",
                                                             "but what about",
                                                             "but isnt",
                                                             "wouldnt that",
                                                             "we need someone",
                                                             "we were looking for someone",
                                                             "gap in your resume",
                                                             "im skeptical",
                                                             "i have doubts",
                                                             "im not sure you"});

constexpr auto requests = std::to_array<std::string_view>({"tell me",
                                                           "tell us",
                                                           "describe",
                                                           "walk me through",
                                                           "walk us through",
                                                           "explain",
                                                           "talk about",
                                                           "talk me through",
                                                           "give me",
                                                           "give us",
                                                           "share",
                                                           "id like to hear",
                                                           "i would like to hear",
                                                           "id love to hear",
                                                           "introduce yourself",
                                                           "lets talk about",
                                                           "im curious",
                                                           "i wonder",
                                                           "i was wondering",
                                                           "compare",
                                                           "imagine",
                                                           "suppose",
                                                           "name a",
                                                           "show me"});

constexpr auto questionStarts = std::to_array<std::string_view>(
    {"what", "whats", "why", "how",  "hows", "when",  "where", "which", "who",  "whose", "do",     "does", "did",
     "are",  "is",    "was", "were", "can",  "could", "would", "will",  "have", "has",   "should", "any"});

constexpr auto innerQuestions = std::to_array<std::string_view>(
    {"how would you", "how do you",   "how did you",  "how have you", "what would you", "what do you", "what did you",
     "what is",       "what are",     "what was",     "whats",        "why do you",     "why did you", "why are you",
     "why would",     "would you",    "could you",    "can you",      "do you",         "did you",     "have you",
     "are you",       "where do you", "when did you", "which of",     "time when you",  "time you"});

bool hasPhrase(const std::string& padded, Phrases phrases)
{
    return std::ranges::any_of(
        phrases, [&](std::string_view phrase) { return padded.contains(" " + std::string(phrase) + " "); });
}

/// The words with single blanks between and around them, so that a phrase is found on word boundaries only.
std::string padded(std::string_view utterance)
{
    std::string text = " ";
    for (const auto& word : wordsOf(utterance))
        text += word + " ";
    return text;
}

bool isFiller(const std::string& word)
{
    return std::ranges::find(fillers, word) != fillers.end();
}

bool startsAsQuestion(std::string_view utterance)
{
    for (const auto& word : wordsOf(utterance)) {
        if (std::ranges::find(questionStarts, word) != questionStarts.end())
            return true;
        if (!isFiller(word))
            return false;
    }
    return false;
}

bool startsWithRequest(const std::string& text)
{
    std::string_view rest = text;
    for (;;) {
        if (std::ranges::any_of(
                requests, [&](std::string_view request) { return rest.starts_with(" " + std::string(request) + " "); }))
            return true;
        const auto next = rest.find(' ', 1);
        if (next == std::string_view::npos || next == 0 || !isFiller(std::string(rest.substr(1, next - 1))))
            return false;
        rest.remove_prefix(next);
    }
}

} // namespace

Intent intentOf(std::string_view utterance)
{
    const std::string text = padded(utterance);
    const auto words = wordsOf(utterance);
    if (words.empty())
        return Intent::Unknown;
    // A greeting often opens a longer utterance; what follows decides then.
    constexpr std::size_t longestSmallTalk = 12;
    if (words.size() <= longestSmallTalk && hasPhrase(text, replySmallTalk))
        return Intent::SmallTalk;
    if (std::ranges::all_of(words, isFiller))
        return Intent::SmallTalk;
    if (hasPhrase(text, clarifications))
        return Intent::Clarification;
    if (startsWithRequest(text))
        return Intent::Question;
    if (hasPhrase(text, objections))
        return Intent::Objection;
    constexpr std::size_t leastQuestion = 2;
    if (words.size() >= leastQuestion &&
        (startsAsQuestion(utterance) || hasPhrase(text, innerQuestions) || utterance.ends_with('?')))
        return Intent::Question;
    return hasPhrase(text, requests) ? Intent::Question : Intent::Unknown;
}

QuestionKind questionKindOf(std::string_view utterance)
{
    struct Rule
    {
        QuestionKind kind;
        std::string_view phrase;
    };
    static constexpr auto rules = std::to_array<Rule>({
        {QuestionKind::OwnQuestions, "questions for us"},
        {QuestionKind::OwnQuestions, "questions for me"},
        {QuestionKind::OwnQuestions, "any questions"},
        {QuestionKind::Introduction, "about yourself"},
        {QuestionKind::Introduction, "introduce yourself"},
        {QuestionKind::Introduction, "your background"},
        {QuestionKind::Introduction, "through your resume"},
        {QuestionKind::Introduction, "who are you"},
        {QuestionKind::Salary, "salary"},
        {QuestionKind::Salary, "compensation"},
        {QuestionKind::Salary, "pay expectations"},
        {QuestionKind::Leaving, "leaving your"},
        {QuestionKind::Leaving, "leave your"},
        {QuestionKind::Leaving, "looking for a new"},
        {QuestionKind::Future, "five years"},
        {QuestionKind::Future, "ten years"},
        {QuestionKind::Future, "career goals"},
        {QuestionKind::Motivation, "why do you want"},
        {QuestionKind::Motivation, "want to work"},
        {QuestionKind::Motivation, "why us"},
        {QuestionKind::Motivation, "why this role"},
        {QuestionKind::Motivation, "why this company"},
        {QuestionKind::Motivation, "interested in this"},
        {QuestionKind::Motivation, "should we hire you"},
        {QuestionKind::Motivation, "interests you"},
        {QuestionKind::Motivation, "know about our"},
        {QuestionKind::Motivation, "know about us"},
        {QuestionKind::Weakness, "weakness"},
        {QuestionKind::Weakness, "weaknesses"},
        {QuestionKind::Strength, "strength"},
        {QuestionKind::Strength, "strengths"},
        {QuestionKind::Strength, "good at"},
        {QuestionKind::Strength, "proud of"},
        {QuestionKind::Strength, "biggest achievement"},
        {QuestionKind::Strength, "greatest achievement"},
        {QuestionKind::Failure, "failed"},
        {QuestionKind::Failure, "failure"},
        {QuestionKind::Failure, "mistake"},
        {QuestionKind::Experience, "have you used"},
        {QuestionKind::Experience, "have you worked"},
        {QuestionKind::Experience, "have you done"},
        {QuestionKind::Experience, "have you ever"},
        {QuestionKind::Experience, "do you have experience"},
        {QuestionKind::Experience, "have any experience"},
        {QuestionKind::Experience, "what experience"},
        {QuestionKind::Experience, "your experience"},
        {QuestionKind::Experience, "familiar with"},
        {QuestionKind::Project, "difficult project"},
        {QuestionKind::Project, "challenging project"},
        {QuestionKind::Project, "hardest project"},
        {QuestionKind::Project, "recent project"},
        {QuestionKind::Project, "project that you"},
        {QuestionKind::Project, "project you"},
        {QuestionKind::Project, "projects you"},
        {QuestionKind::Project, "a project"},
        {QuestionKind::Situation, "a time"},
        {QuestionKind::Situation, "a situation"},
        {QuestionKind::Situation, "disagreed"},
        {QuestionKind::Situation, "conflict"},
        {QuestionKind::Situation, "do you handle"},
        {QuestionKind::Situation, "did you handle"},
        {QuestionKind::Situation, "do you deal"},
    });
    const std::string text = padded(utterance);
    const auto found = std::ranges::find_if(
        rules, [&](const Rule& rule) { return text.contains(" " + std::string(rule.phrase) + " "); });
    return found == rules.end() ? QuestionKind::General : found->kind;
}

bool wantsReply(std::string_view smallTalk)
{
    return hasPhrase(padded(smallTalk), replySmallTalk);
}

} // namespace quorvel::localbackend
