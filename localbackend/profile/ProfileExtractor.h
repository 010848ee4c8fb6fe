#pragma once

#include "support/Result.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::localbackend {

/// The digest of an uploaded resume.
struct ExtractedProfile
{
    std::string resumeSummary;
    std::vector<std::string> keyterms;
    std::int64_t characterCount = 0; ///< code points of the extracted text
};

/// Makes a profile of a file. Implementations are called on any thread, several at once.
class ProfileExtractor
{
public:
    ProfileExtractor() = default;
    ProfileExtractor(const ProfileExtractor&) = delete;
    ProfileExtractor(ProfileExtractor&&) = delete;
    ProfileExtractor& operator=(const ProfileExtractor&) = delete;
    ProfileExtractor& operator=(ProfileExtractor&&) = delete;
    virtual ~ProfileExtractor() = default;

    /// Reads the file, which is untrusted. The kind is told by the content type and, where that says nothing, by the
    /// file name's extension. Blocks for at most a few seconds. Fails with Unsupported for other kinds of file and with
    /// Unprocessable for a file that cannot be read.
    [[nodiscard]] virtual Result<ExtractedProfile> extract(std::string_view fileName, std::string_view contentType,
                                                           std::string_view content) const = 0;
};

} // namespace quorvel::localbackend
