#pragma once

#include "support/Result.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace quorvel::localbackend {

/// The most text that is taken from one file, in bytes of UTF-8.
constexpr std::size_t mostExtractedText = std::size_t{2} * 1024 * 1024;

/// The text of a PDF by the program pdftotext, which runs as a child with limits of processor time, memory, file size
/// and wall-clock time, in a private directory that is removed afterwards. Fails with Unprocessable; with Unavailable
/// where the program is missing.
[[nodiscard]] Result<std::string> textOfPdf(std::string_view content);

/// The text of a Word document, one line a paragraph. Only the document's main part is read; what it may expand to is
/// limited, and nothing is written to disk. Fails with Unprocessable.
[[nodiscard]] Result<std::string> textOfDocx(std::string_view content);

/// The text of a plain text file in UTF-8, UTF-16 with a byte order mark, or Windows-1252. Fails with Unprocessable for
/// what is no text.
[[nodiscard]] Result<std::string> textOfPlain(std::string_view content);

} // namespace quorvel::localbackend
