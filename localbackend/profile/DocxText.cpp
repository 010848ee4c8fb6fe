#include "profile/Extractors.h"
#include "support/Text.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <cstring>
#include <memory>
#include <pugixml.hpp>

namespace quorvel::localbackend {

namespace {

constexpr std::string_view mainPart = "word/document.xml";
constexpr int mostEntries = 2000;
constexpr std::size_t mostExpandedBytes = std::size_t{16} * 1024 * 1024;
constexpr int mostDepth = 200;

struct FreeArchive
{
    void operator()(archive* opened) const { archive_read_free(opened); }
};
using ArchiveHandle = std::unique_ptr<archive, FreeArchive>;

std::unexpected<Failure> damaged()
{
    return failed(Fault::Unprocessable, "The file is not a readable Word document.");
}

Result<std::string> expanded(archive* opened)
{
    std::string bytes;
    std::array<char, 65536> buffer{};
    for (;;) {
        const auto count = archive_read_data(opened, buffer.data(), buffer.size());
        if (count < 0)
            return damaged();
        if (count == 0)
            return bytes;
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
        if (bytes.size() > mostExpandedBytes)
            return failed(Fault::Unprocessable, "The Word document expands to more than 16 MB.");
    }
}

/// The bytes of the document's main part. Names of entries are compared, never used as paths.
Result<std::string> mainPartOf(std::string_view content)
{
    const ArchiveHandle opened(archive_read_new());
    if (!opened || archive_read_support_format_zip(opened.get()) != ARCHIVE_OK ||
        archive_read_open_memory(opened.get(), content.data(), content.size()) != ARCHIVE_OK)
        return damaged();
    for (int i = 0; i < mostEntries; ++i) {
        archive_entry* entry = nullptr;
        const int status = archive_read_next_header(opened.get(), &entry);
        if (status != ARCHIVE_OK && status != ARCHIVE_WARN)
            return damaged();
        const char* name = archive_entry_pathname(entry);
        if (name != nullptr && name == mainPart)
            return expanded(opened.get());
    }
    return failed(Fault::Unprocessable, "The Word document has too many parts.");
}

/// The name without its namespace prefix, which producers choose freely.
std::string_view localName(const pugi::xml_node& node)
{
    const std::string_view name = node.name();
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

class TextCollector : public pugi::xml_tree_walker
{
public:
    bool for_each(pugi::xml_node& node) override
    {
        if (depth() > mostDepth || m_text.size() > mostExtractedText)
            return false;
        const auto name = localName(node);
        if (name == "p" || name == "br")
            m_text += '\n';
        else if (name == "tab")
            m_text += ' ';
        else if (name == "t")
            m_text += node.text().get();
        return true;
    }
    [[nodiscard]] std::string take() { return std::move(m_text); }

private:
    std::string m_text;
};

} // namespace

Result<std::string> textOfDocx(std::string_view content)
{
    auto part = mainPartOf(content);
    if (!part)
        return part;
    // A document that declares entities of its own does so to expand without end or to reach files.
    if (part->contains("<!DOCTYPE") || part->contains("<!ENTITY"))
        return failed(Fault::Unprocessable, "The Word document declares entities, which is not accepted.");
    pugi::xml_document document;
    const auto parsed =
        document.load_buffer_inplace(part->data(), part->size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    if (!parsed)
        return damaged();
    TextCollector collector;
    if (!document.traverse(collector))
        return failed(Fault::Unprocessable, "The Word document is too large or nested too deeply.");
    auto text = collector.take();
    if (!isUtf8(text))
        return damaged();
    return text;
}

} // namespace quorvel::localbackend
