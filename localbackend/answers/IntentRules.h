#pragma once

#include "answers/Answerer.h"

#include <cstdint>
#include <string_view>

namespace quorvel::localbackend {

/// What a question is about, as far as the answer's shape depends on it.
enum class QuestionKind : std::uint8_t {
    Introduction,
    Motivation,
    Strength,
    Weakness,
    Failure,
    Experience, ///< "have you worked with"
    Situation,  ///< "tell me about a time when", "how do you handle"
    Project,    ///< "describe a difficult project"
    Future,
    Leaving,
    Salary,
    OwnQuestions,
    General,
};

/// Judges an utterance as a recogniser gives it: lower case and without punctuation, with words misheard.
[[nodiscard]] Intent intentOf(std::string_view utterance);

[[nodiscard]] QuestionKind questionKindOf(std::string_view utterance);

/// Whether small talk asks for an answer ("how are you") or only closes a turn ("okay great").
[[nodiscard]] bool wantsReply(std::string_view smallTalk);

} // namespace quorvel::localbackend
