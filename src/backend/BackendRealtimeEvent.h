#pragma once

#include "backend/BackendRecords.h"
#include "suggestions/ResponseSuggestion.h"

#include <QString>

#include <optional>
#include <variant>

namespace quorvel {

/// One decoded realtime message, as one of the structures below.
namespace realtime {

struct Status
{
    QString state;
    BackendConnectionStatus backend = BackendConnectionStatus::connected;
    BackendTranscriberStatus transcriber = BackendTranscriberStatus::waiting;
    std::optional<QString> message = std::nullopt;

    friend bool operator==(const Status&, const Status&) = default;
};

struct TranscriptDelta
{
    QString text;    ///< the new piece
    QString partial; ///< the whole interim line so far

    friend bool operator==(const TranscriptDelta&, const TranscriptDelta&) = default;
};

struct TranscriptFinal
{
    QString text;

    friend bool operator==(const TranscriptFinal&, const TranscriptFinal&) = default;
};

struct Error
{
    QString severity; ///< "fatal" ends the session
    QString message;

    friend bool operator==(const Error&, const Error&) = default;
};

} // namespace realtime

using BackendRealtimeEvent = std::variant<realtime::Status, realtime::TranscriptDelta, realtime::TranscriptFinal,
                                          ResponseSuggestion, BackendDiagnostics, realtime::Error>;

} // namespace quorvel
