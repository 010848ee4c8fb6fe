#include "capture/ShareableContentService.h"

#include <QCollator>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr std::array browserNames{"chrome"_L1, "arc"_L1, "safari"_L1, "edge"_L1, "firefox"_L1, "brave"_L1, "opera"_L1};
constexpr std::array meetingWords{"meet"_L1,   "zoom"_L1, "teams"_L1,  "webex"_L1, "slack"_L1,
                                  "chrome"_L1, "arc"_L1,  "safari"_L1, "edge"_L1};

bool containsAnyOf(const auto& words, const QString& text)
{
    const QString lowered = text.toLower();
    return std::ranges::any_of(words, [&lowered](QLatin1StringView word) { return lowered.contains(word); });
}

std::deque<CaptureSource> displaySources(const platform::ShareableContent& content)
{
    std::deque<CaptureSource> sources;
    const bool isOnly = content.displays.size() == 1;
    for (const std::shared_ptr<const platform::ShareableDisplay>& display : content.displays) {
        sources.push_back({
            .id = u"screen-%1"_s.arg(display->displayId),
            .kind = CaptureSourceKind::screen,
            .title = isOnly ? u"Entire Screen"_s : u"Screen %1"_s.arg(sources.size() + 1),
            .applicationName = {},
            .isLikelyMeeting = false,
            .window = nullptr,
            .display = display,
        });
    }
    return sources;
}

std::vector<CaptureSource> windowSources(const platform::ShareableContent& content)
{
    std::vector<CaptureSource> sources;
    for (const std::shared_ptr<const platform::ShareableWindow>& window : content.windows) {
        const std::optional<platform::RunningApplication>& owner = window->owningApplication;
        const std::optional<QString>& name = window->title;
        if (!owner || !name || !window->isOnScreen) {
            continue;
        }
        const QString& title = *name;
        const QString& appName = owner->applicationName;
        const bool isBrowser = ShareableContentService::isBrowser(appName);
        sources.push_back({
            .id = u"window-%1"_s.arg(window->windowId),
            .kind = isBrowser ? CaptureSourceKind::browser : CaptureSourceKind::window,
            .title = title,
            .applicationName = appName,
            .isLikelyMeeting = ShareableContentService::isLikelyMeeting(title, appName),
            .window = window,
            .display = nullptr,
        });
    }
    return sources;
}

void rank(std::vector<CaptureSource>& windows)
{
    // Compares texts directly: its sort keys tell letter cases apart in the "C" locale.
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::ranges::stable_sort(windows, [&collator](const CaptureSource& left, const CaptureSource& right) {
        if (left.isLikelyMeeting != right.isLikelyMeeting) {
            return left.isLikelyMeeting;
        }
        if (left.kind != right.kind) {
            return left.kind == CaptureSourceKind::browser;
        }
        return collator.compare(left.displayName(), right.displayName()) < 0;
    });
}

} // namespace

ShareableContentService::ShareableContentService(std::shared_ptr<platform::ShareableContentProvider> provider)
    : m_provider(std::move(provider))
{
}

Task<Result<std::deque<CaptureSource>>> ShareableContentService::availableSources()
{
    constexpr bool excludingDesktopWindows = false;
    constexpr bool onScreenWindowsOnly = true;
    const Result<platform::ShareableContent> content =
        co_await m_provider->shareableContent(excludingDesktopWindows, onScreenWindowsOnly);
    if (!content) {
        co_return std::unexpected(content.error());
    }
    std::vector<CaptureSource> windows = windowSources(*content);
    rank(windows);
    std::deque<CaptureSource> sources = displaySources(*content);
    sources.insert(sources.begin(), std::move_iterator(windows.begin()), std::move_iterator(windows.end()));
    co_return sources;
}

bool ShareableContentService::isBrowser(const QString& appName)
{
    return containsAnyOf(browserNames, appName);
}

bool ShareableContentService::isLikelyMeeting(const QString& title, const QString& appName)
{
    return containsAnyOf(meetingWords, title + u' ' + appName);
}

} // namespace quorvel
