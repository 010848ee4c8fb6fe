#pragma once

#include "platform/RawValue.h"
#include "platform/Result.h"

#include <QJsonObject>
#include <QString>

#include <array>
#include <cstdint>

namespace quorvel {

/// The kind of utterance that a suggestion answers.
enum class DetectedIntent : std::uint8_t { question, objection, clarification, smalltalk, unknown };

[[nodiscard]] constexpr auto rawValues(DetectedIntent)
{
    return std::array{
        RawValue{DetectedIntent::question, "question"},
        RawValue{DetectedIntent::objection, "objection"},
        RawValue{DetectedIntent::clarification, "clarification"},
        RawValue{DetectedIntent::smalltalk, "smalltalk"},
        RawValue{DetectedIntent::unknown, "unknown"},
    };
}

/// A suggested answer. The default value is the empty suggestion, which stands for none.
struct ResponseSuggestion
{
    bool shouldRespond = false;
    QString suggestion = QString();
    /// The producer's confidence, usually 0 to 1; its range is not enforced.
    double confidence = 0.0;
    DetectedIntent detectedIntent = DetectedIntent::unknown;

    [[nodiscard]] QJsonObject toJson() const;
    /// All four keys are required; unknown keys are ignored.
    [[nodiscard]] static Result<ResponseSuggestion> fromJson(const QJsonObject& object);

    friend bool operator==(const ResponseSuggestion&, const ResponseSuggestion&) = default;
};

} // namespace quorvel
