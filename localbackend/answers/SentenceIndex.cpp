#include "answers/SentenceIndex.h"

#include "answers/Sentences.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

namespace quorvel::localbackend {

SentenceIndex::SentenceIndex(std::vector<std::string> sentences)
    : m_sentences(std::move(sentences))
{
    std::size_t total = 0;
    for (const auto& sentence : m_sentences) {
        auto& counts = m_counts.emplace_back();
        const auto terms = termsOf(sentence);
        for (const auto& term : terms) {
            if (++counts[term] == 1)
                ++m_documentCounts[term];
        }
        m_lengths.push_back(terms.size());
        total += terms.size();
    }
    if (total > 0)
        m_meanLength = static_cast<double>(total) / static_cast<double>(m_sentences.size());
}

double SentenceIndex::weightOf(const std::string& term) const
{
    const auto found = m_documentCounts.find(term);
    const double with = found == m_documentCounts.end() ? 0 : found->second;
    const auto all = static_cast<double>(m_sentences.size());
    return std::log(1 + (all - with + 0.5) / (with + 0.5));
}

std::vector<SentenceIndex::Hit> SentenceIndex::find(const std::vector<std::string>& terms) const
{
    constexpr double k1 = 1.2;
    constexpr double b = 0.75;
    const std::set<std::string> distinct(terms.begin(), terms.end());
    double queryWeight = 0;
    for (const auto& term : distinct)
        queryWeight += weightOf(term);
    std::vector<Hit> hits;
    for (std::size_t i = 0; i < m_sentences.size(); ++i) {
        Hit hit{.sentence = i};
        for (const auto& term : distinct) {
            const auto count = m_counts[i].find(term);
            if (count == m_counts[i].end())
                continue;
            const double weight = weightOf(term);
            const double length = 1 - b + b * static_cast<double>(m_lengths[i]) / m_meanLength;
            hit.score += weight * count->second * (k1 + 1) / (count->second + k1 * length);
            hit.coverage += weight / queryWeight;
        }
        if (hit.score > 0)
            hits.push_back(hit);
    }
    std::ranges::sort(hits, [](const Hit& left, const Hit& right) {
        return left.score != right.score ? left.score > right.score : left.sentence < right.sentence;
    });
    return hits;
}

} // namespace quorvel::localbackend
