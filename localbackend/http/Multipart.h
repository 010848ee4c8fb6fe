#pragma once

#include "support/Result.h"

#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// One part of a multipart body. The views refer to the body.
struct MultipartFile
{
    std::string fileName;    ///< the last path component of what the sender named, may be empty
    std::string contentType; ///< lower case, without parameters; "application/octet-stream" when missing
    std::string_view content;
};

/// The boundary that a Content-Type header of multipart/form-data names. Fails with Unsupported for another content
/// type, with Invalid for a missing or impossible boundary.
[[nodiscard]] Result<std::string> multipartBoundary(std::string_view contentTypeHeader);

/// The part named "resume" of the body. At most 16 parts of at most 4 KiB of headers each. Fails with Invalid.
[[nodiscard]] Result<MultipartFile> resumePart(std::string_view body, std::string_view boundary);

} // namespace quorvel::localbackend
