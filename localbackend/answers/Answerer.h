#pragma once

#include "support/MeetingContext.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// The kind of an utterance of the other party.
enum class Intent : std::uint8_t { Question, Objection, Clarification, SmallTalk, Unknown };

/// The name of the intent as messages carry it.
[[nodiscard]] std::string_view intentName(Intent intent);

/// A suggested answer to one utterance.
struct Suggestion
{
    bool shouldRespond = false;
    std::string text = {};
    double confidence = 0; ///< 0 to 1, from the evidence in the context
    Intent intent = Intent::Unknown;
};

/// Answers for one interview context. Immutable, so calls on any thread are safe.
class BriefedAnswerer
{
public:
    BriefedAnswerer() = default;
    BriefedAnswerer(const BriefedAnswerer&) = delete;
    BriefedAnswerer(BriefedAnswerer&&) = delete;
    BriefedAnswerer& operator=(const BriefedAnswerer&) = delete;
    BriefedAnswerer& operator=(BriefedAnswerer&&) = delete;
    virtual ~BriefedAnswerer() = default;

    /// What to say to the utterance. The earlier text is what the other party said just before it, possibly empty: a
    /// question is often broken into several phrases by pauses.
    [[nodiscard]] virtual Suggestion answer(std::string_view utterance, std::string_view earlier) const = 0;
};

/// Prepares answers from an interview context. Thread-safe.
class Answerer
{
public:
    Answerer() = default;
    Answerer(const Answerer&) = delete;
    Answerer(Answerer&&) = delete;
    Answerer& operator=(const Answerer&) = delete;
    Answerer& operator=(Answerer&&) = delete;
    virtual ~Answerer() = default;

    [[nodiscard]] virtual std::shared_ptr<const BriefedAnswerer> brief(MeetingContext context) const = 0;
};

} // namespace quorvel::localbackend
