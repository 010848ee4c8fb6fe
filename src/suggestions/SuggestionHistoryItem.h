#pragma once

#include "platform/Clock.h"
#include "suggestions/ResponseSuggestion.h"

#include <QString>
#include <QUuid>

namespace quorvel {

/// A suggestion that was worth keeping.
struct SuggestionHistoryItem
{
    QUuid id;
    /// As received; its text is not trimmed.
    ResponseSuggestion suggestion;
    Timestamp createdAt;
    /// "Quick" below a confidence of 0.75, else "Refined".
    QString sourceLabel;

    friend bool operator==(const SuggestionHistoryItem&, const SuggestionHistoryItem&) = default;
};

} // namespace quorvel
