#include "http/Multipart.h"

#include "support/Text.h"

#include <algorithm>
#include <optional>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t mostParts = 16;
constexpr std::size_t mostHeaderBytes = 4096;
constexpr std::size_t longestBoundary = 70; // RFC 2046

struct PartHeaders
{
    std::optional<std::string> name;
    std::string fileName;
    std::string contentType = "application/octet-stream";
};

/// The value of a parameter such as name="resume". A quote ends the value only where a parameter can follow: senders
/// put file names with quotes in them without escaping.
std::optional<std::string> parameter(std::string_view header, std::string_view name)
{
    std::size_t at = 0;
    while ((at = header.find(';', at)) != std::string_view::npos) {
        ++at;
        auto rest = header.substr(at);
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
        if (rest.size() <= name.size() || lowerCased(rest.substr(0, name.size())) != name || rest[name.size()] != '=')
            continue;
        rest.remove_prefix(name.size() + 1);
        if (!rest.starts_with('"'))
            return std::string(trimmed(rest.substr(0, rest.find(';'))));
        rest.remove_prefix(1);
        for (std::size_t i = 0; i < rest.size(); ++i) {
            if (rest[i] != '"')
                continue;
            const auto after = trimmed(rest.substr(i + 1));
            if (after.empty() || after.front() == ';')
                return std::string(rest.substr(0, i));
        }
        return std::nullopt;
    }
    return std::nullopt;
}

std::string lastPathComponent(std::string_view path)
{
    const auto slash = path.find_last_of("/\\");
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

PartHeaders parsePartHeaders(std::string_view text)
{
    PartHeaders headers;
    for (const auto line : splitTrimmed(text, "\r\n")) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos)
            continue;
        const auto field = lowerCased(trimmed(line.substr(0, colon)));
        const auto value = trimmed(line.substr(colon + 1));
        if (field == "content-disposition") {
            headers.name = parameter(value, "name");
            headers.fileName = lastPathComponent(parameter(value, "filename").value_or(""));
        } else if (field == "content-type") {
            headers.contentType = lowerCased(trimmed(value.substr(0, value.find(';'))));
        }
    }
    return headers;
}

} // namespace

Result<std::string> multipartBoundary(std::string_view contentTypeHeader)
{
    const auto type = lowerCased(trimmed(contentTypeHeader.substr(0, contentTypeHeader.find(';'))));
    if (type != "multipart/form-data")
        return failed(Fault::Unsupported, "Send the file as multipart/form-data.");
    auto boundary = parameter(contentTypeHeader, "boundary");
    if (!boundary || boundary->empty() || boundary->size() > longestBoundary)
        return failed(Fault::Invalid, "The Content-Type header names no usable boundary.");
    return *boundary;
}

Result<MultipartFile> resumePart(std::string_view body, std::string_view boundary)
{
    const std::string delimiter = "\r\n--" + std::string(boundary);
    // The first delimiter has no line break before it when nothing precedes it.
    if (body.starts_with(std::string_view(delimiter).substr(2)))
        body.remove_prefix(delimiter.size() - 2);
    else if (const auto first = body.find(delimiter); first != std::string_view::npos)
        body.remove_prefix(first + delimiter.size());
    else
        return failed(Fault::Invalid, "The multipart body does not hold its boundary.");

    for (std::size_t part = 0; part < mostParts; ++part) {
        if (body.starts_with("--"))
            return failed(Fault::Invalid, "The multipart body has no part named resume.");
        const auto headerStart = body.find("\r\n");
        const auto headerEnd = body.substr(0, mostHeaderBytes).find("\r\n\r\n");
        if (headerStart == std::string_view::npos || headerEnd == std::string_view::npos ||
            !trimmed(body.substr(0, headerStart)).empty())
            return failed(Fault::Invalid, "A part of the multipart body has broken headers.");
        const auto headers = parsePartHeaders(body.substr(0, headerEnd));
        body.remove_prefix(headerEnd + 2);
        // The empty line that ends the headers may itself begin the delimiter of an empty part.
        const auto end = body.find(delimiter);
        if (end == std::string_view::npos)
            return failed(Fault::Invalid, "The multipart body ends before its closing boundary.");
        if (headers.name == "resume") {
            return MultipartFile{.fileName = headers.fileName,
                                 .contentType = headers.contentType,
                                 .content = end < 2 ? std::string_view{} : body.substr(2, end - 2)};
        }
        body.remove_prefix(end + delimiter.size());
    }
    return failed(Fault::Invalid, "The multipart body has too many parts.");
}

} // namespace quorvel::localbackend
