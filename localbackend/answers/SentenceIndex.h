#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::localbackend {

/// Sentences of a document, found by BM25 (k1 1.2, b 0.75).
class SentenceIndex
{
public:
    struct Hit
    {
        std::size_t sentence = 0; ///< position in the document
        double score = 0;
        double coverage = 0; ///< share of the query's weight that the sentence holds, 0 to 1
    };

    explicit SentenceIndex(std::vector<std::string> sentences);

    [[nodiscard]] const std::vector<std::string>& sentences() const { return m_sentences; }

    /// The sentences that hold any of the terms, best first.
    [[nodiscard]] std::vector<Hit> find(const std::vector<std::string>& terms) const;

private:
    [[nodiscard]] double weightOf(const std::string& term) const;

    std::vector<std::string> m_sentences;
    std::vector<std::map<std::string, int>> m_counts;
    std::vector<std::size_t> m_lengths;
    std::map<std::string, int> m_documentCounts;
    double m_meanLength = 1;
};

} // namespace quorvel::localbackend
