#pragma once

#include "profile/ProfileExtractor.h"

namespace quorvel::localbackend {

/// Reads PDF, DOCX and plain text files and makes a profile of their text without any model.
class FileProfileExtractor : public ProfileExtractor
{
public:
    [[nodiscard]] Result<ExtractedProfile> extract(std::string_view fileName, std::string_view contentType,
                                                   std::string_view content) const override;
};

/// The profile of a resume's text.
[[nodiscard]] ExtractedProfile profileOf(std::string_view text);

} // namespace quorvel::localbackend
