#pragma once

#include <QString>

#include <cstdint>

namespace quorvel {

/// What a transcriber reports: its latest guess, a finished utterance, or why it failed.
struct TranscriptEvent
{
    enum class Kind : std::uint8_t { partial, final, error };

    Kind kind = Kind::partial;
    QString text;

    friend bool operator==(const TranscriptEvent&, const TranscriptEvent&) = default;
};

} // namespace quorvel
