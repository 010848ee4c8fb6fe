#include "profile/FileProfileExtractor.h"

#include "profile/Digest.h"
#include "profile/Extractors.h"
#include "support/Text.h"

namespace quorvel::localbackend {

namespace {

enum class Kind : std::uint8_t { Pdf, Docx, Plain, Unknown };

Kind kindOf(std::string_view fileName, std::string_view contentType)
{
    if (contentType == "application/pdf")
        return Kind::Pdf;
    if (contentType == "application/vnd.openxmlformats-officedocument.wordprocessingml.document")
        return Kind::Docx;
    if (contentType == "text/plain")
        return Kind::Plain;
    const auto name = lowerCased(fileName);
    if (contentType != "application/octet-stream")
        return Kind::Unknown;
    if (name.ends_with(".pdf"))
        return Kind::Pdf;
    if (name.ends_with(".docx"))
        return Kind::Docx;
    return name.ends_with(".txt") ? Kind::Plain : Kind::Unknown;
}

} // namespace

Result<ExtractedProfile> FileProfileExtractor::extract(std::string_view fileName, std::string_view contentType,
                                                       std::string_view content) const
{
    Result<std::string> text = failed(Fault::Unsupported, "Only PDF, DOCX and TXT files can be read.");
    switch (kindOf(fileName, contentType)) {
    case Kind::Pdf:
        text = textOfPdf(content);
        break;
    case Kind::Docx:
        text = textOfDocx(content);
        break;
    case Kind::Plain:
        text = textOfPlain(content);
        break;
    case Kind::Unknown:
        break;
    }
    if (!text)
        return std::unexpected(text.error());
    if (trimmed(*text).empty())
        return failed(Fault::Unprocessable, "The file holds no text. A scanned document has to be recognised first.");
    return profileOf(*text);
}

ExtractedProfile profileOf(std::string_view text)
{
    return {.resumeSummary = summaryOf(text),
            .keyterms = keytermsOf(text),
            .characterCount = static_cast<std::int64_t>(codePointCount(trimmed(text)))};
}

} // namespace quorvel::localbackend
