#include "FuzzInput.h"
#include "http/Form.h"
#include "http/Multipart.h"
#include "support/Text.h"

using namespace quorvel::localbackend;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input = fuzzText(data, size);
    if (const auto fields = parseForm(input)) {
        for (const auto& [name, value] : *fields) {
            require(isUtf8(name) && isUtf8(value));
            const auto again = parseForm("n=" + percentEncoded(value));
            require(again && formValue(*again, "n") == value);
        }
    }
    std::string_view rest = input;
    const auto header = takePart(rest);
    const auto boundary = multipartBoundary(header);
    const auto file = resumePart(rest, boundary ? *boundary : "B");
    if (file) {
        require(file->content.empty() || (file->content.data() >= rest.data() &&
                                          file->content.data() + file->content.size() <= rest.data() + rest.size()));
        require(!file->fileName.contains('/') && !file->fileName.contains('\\'));
    }
    return 0;
}
