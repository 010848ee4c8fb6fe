#include "profile/Digest.h"
#include "support/Text.h"

#include <algorithm>
#include <array>

namespace quorvel::localbackend {

namespace {

constexpr std::size_t mostBytes = 6000;
constexpr std::size_t mostLine = 400;

constexpr auto headings = std::to_array<std::string_view>({"experience",
                                                           "work experience",
                                                           "professional experience",
                                                           "employment",
                                                           "employment history",
                                                           "education",
                                                           "skills",
                                                           "technical skills",
                                                           "summary",
                                                           "profile",
                                                           "about",
                                                           "about me",
                                                           "projects",
                                                           "certifications",
                                                           "languages",
                                                           "interests",
                                                           "hobbies",
                                                           "references",
                                                           "contact",
                                                           "curriculum vitae",
                                                           "resume",
                                                           "objective",
                                                           "awards",
                                                           "publications",
                                                           "volunteering"});

bool isHeading(std::string_view line)
{
    auto text = lowerCased(line);
    while (!text.empty() && (text.back() == ':' || text.back() == ' '))
        text.pop_back();
    return std::ranges::find(headings, text) != headings.end();
}

/// Addresses of people and pages, telephone numbers, page numbers: nothing to say in an interview, and private.
bool isContactOrFurniture(std::string_view line)
{
    const auto text = lowerCased(line);
    if (text.contains('@') || text.contains("http://") || text.contains("https://") || text.contains("www.") ||
        text.starts_with("phone") || text.starts_with("tel") || text.starts_with("mobile") ||
        text.starts_with("date of birth") || text.starts_with("address:"))
        return true;
    const auto digits = std::ranges::count_if(text, [](char c) { return c >= '0' && c <= '9'; });
    const auto letters = std::ranges::count_if(text, [](char c) { return (c >= 'a' && c <= 'z') || (c & 0x80) != 0; });
    constexpr long leastTelephone = 7;
    return letters == 0 ||
           (digits >= leastTelephone && letters < digits && !text.contains("20") && !text.contains("19"));
}

bool startsWithBullet(std::string_view line)
{
    return std::ranges::any_of(
        std::to_array<std::string_view>({"-", "*", "\u2022", "\u2013", "\u25CF", "\u25AA", "\u00B7"}),
        [&](std::string_view bullet) { return line.starts_with(bullet); });
}

/// Whether the line goes on where the one before it broke off for lack of room.
bool continues(std::string_view before, std::string_view line)
{
    constexpr std::size_t wideLine = 50;
    const bool lower = line.front() >= 'a' && line.front() <= 'z';
    const bool open = !before.empty() && before.back() != '.' && before.back() != ':';
    return lower && open && before.size() >= wideLine;
}

std::string withSingleBlanks(std::string_view line)
{
    std::string text;
    for (const auto word : splitTrimmed(line, " \t\r\f\v"))
        text += (text.empty() ? "" : " ") + std::string(word);
    return text;
}

} // namespace

std::string summaryOf(std::string_view text)
{
    std::vector<std::string> lines;
    bool openLine = false;
    for (const auto raw : splitTrimmed(text, "\n\f")) {
        const auto line = withSingleBlanks(raw);
        if (isHeading(line) || isContactOrFurniture(line)) {
            openLine = false;
            continue;
        }
        if (openLine && !startsWithBullet(line) && continues(lines.back(), line))
            lines.back() += " " + line;
        else
            lines.push_back(line);
        openLine = true;
    }
    std::string summary;
    for (const auto& line : lines) {
        const auto cut = cutToBytes(line, mostLine);
        if (summary.size() + cut.size() + 1 > mostBytes)
            break;
        summary += (summary.empty() ? "" : "\n") + std::string(cut);
    }
    return summary;
}

} // namespace quorvel::localbackend
