#pragma once

#include "answers/Answerer.h"
#include "support/Clock.h"
#include "support/MeetingContext.h"
#include "support/Result.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quorvel::localbackend {

struct SessionStart
{
    MeetingContext context;
};
struct ContextUpdate
{
    MeetingContext context;
};
struct SessionStop
{
};
using ClientMessage = std::variant<SessionStart, ContextUpdate, SessionStop>;

/// The limits of a context: bytes of each short field and of each long one, number and bytes of key terms.
struct ContextLimits
{
    static constexpr std::size_t shortText = 4096;
    static constexpr std::size_t longText = 131'072;
    static constexpr std::size_t keyterms = 500;
    static constexpr std::size_t keyterm = 256;
};

/// Reads one control message. Fails with Invalid and a sentence that names the fault.
[[nodiscard]] Result<ClientMessage> parseClientMessage(std::string_view text);

/// The state of the transcriber in "session.status".
enum class Transcriber : std::uint8_t { Waiting, Connecting, Connected, Closed, Error };

enum class Severity : std::uint8_t { Recoverable, Fatal };

/// The counters of one session.
struct Diagnostics
{
    std::int64_t audioBytes = 0;
    std::int64_t commits = 0; ///< phrases that the recogniser finished
    std::optional<WallTime> lastAudioAt;
    std::optional<WallTime> lastTranscriptAt;
    std::optional<std::int64_t> latencyMs; ///< from the arrival of sound to the sending of the text that rests on it
};

[[nodiscard]] std::string statusMessage(std::string_view state, Transcriber transcriber, std::string_view message);
[[nodiscard]] std::string deltaMessage(std::string_view added, std::string_view partial);
[[nodiscard]] std::string finalMessage(std::string_view text);
[[nodiscard]] std::string suggestionMessage(const Suggestion& suggestion);
[[nodiscard]] std::string diagnosticMessage(const Diagnostics& diagnostics);
[[nodiscard]] std::string errorMessage(Severity severity, std::string_view message);

} // namespace quorvel::localbackend
