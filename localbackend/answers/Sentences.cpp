#include "answers/Sentences.h"

#include "support/Text.h"

#include <algorithm>
#include <array>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t longestSentence = 400;
constexpr std::size_t mostSentences = 2000;

constexpr auto stopWords = std::to_array<std::string_view>(
    {"a",       "about", "all",    "also",       "am",       "an",      "and",    "any",     "are",     "as",
     "at",      "be",    "been",   "but",        "by",       "can",     "could",  "did",     "do",      "does",
     "dont",    "for",   "from",   "get",        "give",     "had",     "has",    "have",    "how",     "i",
     "id",      "if",    "ill",    "im",         "in",       "into",    "is",     "it",      "its",     "ive",
     "just",    "know",  "like",   "me",         "more",     "most",    "my",     "now",     "of",      "okay",
     "on",      "one",   "or",     "our",        "out",      "please",  "say",    "see",     "so",      "some",
     "tell",    "than",  "that",   "the",        "their",    "them",    "then",   "there",   "they",    "this",
     "time",    "to",    "us",     "very",       "was",      "we",      "well",   "were",    "what",    "when",
     "where",   "which", "who",    "why",        "will",     "with",    "would",  "you",     "your",    "youve",
     "ever",    "thing", "things", "experience", "much",     "many",    "enough", "really",  "think",   "never",
     "mean",    "doing", "today",  "something",  "describe", "explain", "walk",   "through", "example", "difference",
     "between", "make",  "sure",   "work",       "worked",   "working", "use",    "used",    "using",   "happens",
     "up",      "not",   "no",     "such"});

bool isWordByte(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte >= 0x80;
}

bool endsWith(std::string_view word, std::string_view ending, std::size_t leastStem)
{
    return word.ends_with(ending) && word.size() >= ending.size() + leastStem;
}

/// A light stemmer: word forms of one verb or noun should meet, and few others.
std::string stemOf(std::string word)
{
    if (std::ranges::any_of(word, [](char c) { return c >= '0' && c <= '9'; }) || word.size() <= 3)
        return word;
    if (endsWith(word, "ies", 3))
        word.replace(word.size() - 3, 3, "y");
    else if (endsWith(word, "sses", 2) || endsWith(word, "xes", 2) || endsWith(word, "ches", 2))
        word.resize(word.size() - 2);
    else if (endsWith(word, "s", 3) && !word.ends_with("ss") && !word.ends_with("us"))
        word.pop_back();
    for (const std::string_view ending :
         {"ations", "ation", "ments", "ment", "ings", "ing", "ers", "er", "ors", "or", "ions", "ion", "ed", "ly"}) {
        if (endsWith(word, ending, 3)) {
            word.resize(word.size() - ending.size());
            break;
        }
    }
    if (word.size() > 4 && word[word.size() - 1] == word[word.size() - 2] && word.back() != 's' && word.back() != 'l')
        word.pop_back();
    if (word.size() > 4 && word.back() == 'e')
        word.pop_back();
    return word;
}

bool endsSentence(std::string_view text, std::size_t at)
{
    const char c = text[at];
    if (c == '\n' || c == ';')
        return true;
    if (c != '.' && c != '!' && c != '?')
        return false;
    if (at + 1 < text.size() && text[at + 1] != ' ' && text[at + 1] != '\n')
        return false;
    // "e.g. ", "Inc. ", "J. " do not end a sentence.
    const auto wordStart = text.substr(0, at).find_last_of(" \n(");
    const auto word = text.substr(wordStart == std::string_view::npos ? 0 : wordStart + 1,
                                  at - (wordStart == std::string_view::npos ? 0 : wordStart + 1));
    const auto lower = lowerCased(word);
    return c != '.' || (word.size() > 1 && lower != "e.g" && lower != "i.e" && lower != "inc" && lower != "ltd" &&
                        lower != "dr" && lower != "approx");
}

std::string_view withoutBullet(std::string_view text)
{
    for (;;) {
        text = trimmed(text);
        const std::string_view before = text;
        for (const std::string_view bullet :
             {"-", "*", "\u2022", "\u2013", "\u2014", "\u25CF", "\u25AA", "\u25E6", "\u00B7", "o "}) {
            if (text.starts_with(bullet) && text.size() > bullet.size())
                text.remove_prefix(bullet.size());
        }
        if (text == before)
            return text;
    }
}

} // namespace

std::vector<std::string> wordsOf(std::string_view text)
{
    std::vector<std::string> words;
    std::string word;
    const auto finish = [&] {
        while (!word.empty() && word.back() == '.')
            word.pop_back();
        if (!word.empty())
            words.push_back(lowerCased(word));
        word.clear();
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool apostrophe = c == '\'' || text.substr(i).starts_with("\u2019");
        if (apostrophe) {
            i += c == '\'' ? 0 : 2;
        } else if (isWordByte(c) || (!word.empty() && (c == '+' || c == '#' || c == '.'))) {
            word += c;
        } else {
            finish();
        }
    }
    finish();
    return words;
}

std::vector<std::string> termsOf(std::string_view text)
{
    std::vector<std::string> terms;
    for (auto& word : wordsOf(text)) {
        if (std::ranges::find(stopWords, word) == stopWords.end())
            terms.push_back(stemOf(std::move(word)));
    }
    return terms;
}

std::vector<std::string> sentencesOf(std::string_view text)
{
    std::vector<std::string> sentences;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size() && sentences.size() < mostSentences; ++i) {
        if (i < text.size() && !endsSentence(text, i))
            continue;
        auto sentence = withoutBullet(text.substr(start, i - start));
        start = i + 1;
        sentence = cutToBytes(sentence, longestSentence);
        if (sentence.find_first_not_of(" .-_=*:") != std::string_view::npos)
            sentences.emplace_back(sentence);
    }
    return sentences;
}

} // namespace quorvel::localbackend
