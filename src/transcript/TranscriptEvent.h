#pragma once

#include <QString>

namespace quorvel {

/// What a transcriber reports: its latest guess, a finished utterance, or why it failed.
struct TranscriptEvent
{
    enum class Kind { partial, final, error };

    Kind kind = Kind::partial;
    QString text;

    friend bool operator==(const TranscriptEvent&, const TranscriptEvent&) = default;
};

} // namespace quorvel
