#include "profile/ChildProcess.h"
#include "profile/Extractors.h"
#include "support/FileDescriptor.h"
#include "support/StateFile.h"
#include "support/Text.h"

#include <cstdlib>
#include <system_error>

namespace quorvel::localbackend {

namespace {

constexpr const char* program = "/usr/bin/pdftotext";

/// A directory of mode 700 that goes, with what is in it, at the end of the scope.
class PrivateDirectory
{
public:
    PrivateDirectory()
    {
        std::error_code error;
        std::string name = (std::filesystem::temp_directory_path(error) / "quorvel-XXXXXX").string();
        if (::mkdtemp(name.data()) != nullptr)
            m_path = name;
    }
    ~PrivateDirectory()
    {
        std::error_code error;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, error);
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory(PrivateDirectory&&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(PrivateDirectory&&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace

Result<std::string> textOfPdf(std::string_view content)
{
    constexpr std::size_t searchedForMark = 1024;
    if (!content.substr(0, searchedForMark).contains("%PDF-"))
        return failed(Fault::Unprocessable, "The file is not a PDF document.");
    const PrivateDirectory directory;
    if (directory.path().empty() || !writeStateFile(directory.path() / "file.pdf", content))
        return failed(Fault::Unavailable, "There is no room for a temporary file.");
    const ChildLimits limits{.outputBytes = mostExtractedText};
    auto outcome = runChild({program, "-enc", "UTF-8", "-eol", "unix", "-nopgbrk", "-q", "file.pdf", "-"},
                            directory.path(), limits);
    if (!outcome)
        return failed(Fault::Unavailable,
                      "PDF files cannot be read: pdftotext is not installed (Debian package poppler-utils).");
    if (outcome->timedOut || outcome->outputCut)
        return failed(Fault::Unprocessable, "The PDF document takes too long to read.");
    if (outcome->exitCode != 0)
        return failed(Fault::Unprocessable, "The PDF document is damaged or protected.");
    if (!isUtf8(outcome->output))
        return failed(Fault::Unprocessable, "The PDF document holds no readable text.");
    return std::move(outcome->output);
}

} // namespace quorvel::localbackend
