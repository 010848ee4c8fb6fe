#include "profile/Extractors.h"
#include "support/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace quorvel::localbackend {

namespace {

void append(std::string& text, std::uint32_t codePoint)
{
    const auto byte = [&](std::uint32_t bits) { text += static_cast<char>(bits); };
    if (codePoint < 0x80) {
        byte(codePoint);
    } else if (codePoint < 0x800) {
        byte(0xC0U | (codePoint >> 6));
        byte(0x80U | (codePoint & 0x3FU));
    } else if (codePoint < 0x10000) {
        byte(0xE0U | (codePoint >> 12));
        byte(0x80U | ((codePoint >> 6) & 0x3FU));
        byte(0x80U | (codePoint & 0x3FU));
    } else {
        byte(0xF0U | (codePoint >> 18));
        byte(0x80U | ((codePoint >> 12) & 0x3FU));
        byte(0x80U | ((codePoint >> 6) & 0x3FU));
        byte(0x80U | (codePoint & 0x3FU));
    }
}

std::string fromUtf16(std::string_view bytes, bool bigEndian)
{
    constexpr std::uint32_t replacement = 0xFFFD;
    const auto unit = [&](std::size_t i) {
        const std::uint32_t first = static_cast<unsigned char>(bytes[i]);
        const std::uint32_t second = static_cast<unsigned char>(bytes[i + 1]);
        return bigEndian ? (first << 8) | second : (second << 8) | first;
    };
    std::string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::uint32_t codePoint = unit(i);
        const bool high = codePoint >= 0xD800 && codePoint < 0xDC00;
        const std::uint32_t next = high && i + 3 < bytes.size() ? unit(i + 2) : 0;
        if (high && next >= 0xDC00 && next < 0xE000) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (next - 0xDC00);
            i += 2;
        } else if (codePoint >= 0xD800 && codePoint < 0xE000) {
            codePoint = replacement;
        }
        append(text, codePoint);
    }
    return text;
}

/// Bytes 80 to 9F of Windows-1252; 0 where it defines none.
constexpr std::array<std::uint16_t, 32> windowsLetters{0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                       0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                                       0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                       0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

std::string fromWindows(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes) {
        const std::uint32_t byte = static_cast<unsigned char>(c);
        append(text, byte >= 0x80 && byte < 0xA0 ? windowsLetters.at(byte - 0x80) : byte);
    }
    return text;
}

bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && c != '\n' && c != '\r' && c != '\t' && c != '\f' && c != '\v';
}

} // namespace

Result<std::string> textOfPlain(std::string_view content)
{
    std::string text;
    if (content.starts_with("\xEF\xBB\xBF"))
        text = content.substr(3);
    else if (content.starts_with("\xFF\xFE"))
        text = fromUtf16(content.substr(2), false);
    else if (content.starts_with("\xFE\xFF"))
        text = fromUtf16(content.substr(2), true);
    else
        text = isUtf8(content) ? std::string(content) : fromWindows(content);
    if (!isUtf8(text) || std::ranges::any_of(text, isControl))
        return failed(Fault::Unprocessable, "The file is not plain text.");
    if (text.size() > mostExtractedText)
        return failed(Fault::Unprocessable, "The text is longer than 2 MB.");
    return text;
}

} // namespace quorvel::localbackend
