#pragma once

#include "platform/Clock.h"
#include "platform/RawValue.h"

#include <QString>
#include <QUuid>

#include <array>
#include <cstdint>

namespace quorvel {

/// One finished line of the transcript.
struct TranscriptTurn
{
    enum class Kind : std::uint8_t { partial, final, mock };

    /// The label shown above a turn.
    friend constexpr auto rawValues(Kind)
    {
        return std::array{
            RawValue{Kind::partial, "Partial"},
            RawValue{Kind::final, "Final"},
            RawValue{Kind::mock, "Mock"},
        };
    }

    QUuid id;
    Kind kind = Kind::final;
    /// Without white space at its ends; never empty.
    QString text;
    Timestamp createdAt;

    friend bool operator==(const TranscriptTurn&, const TranscriptTurn&) = default;
};

} // namespace quorvel
