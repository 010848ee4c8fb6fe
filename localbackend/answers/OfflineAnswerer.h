#pragma once

#include "answers/Answerer.h"

namespace quorvel::localbackend {

/// Answers without any model: rules tell what the utterance is, retrieval finds what the resume and the job description
/// say about it, and fixed phrases put that into the shape of the session's mode. Whatever an answer claims of the user
/// is a sentence of the resume; where the resume has none, the answer says what to add.
class OfflineAnswerer : public Answerer
{
public:
    [[nodiscard]] std::shared_ptr<const BriefedAnswerer> brief(MeetingContext context) const override;
};

} // namespace quorvel::localbackend
