#pragma once

#include "capture/CaptureSource.h"
#include "platform/ShareableContent.h"
#include "platform/Task.h"

#include <deque>
#include <memory>

namespace quorvel {

/// Lists the windows and displays that can be captured, the likeliest meeting first. Keeps nothing between calls.
/// Main thread.
class ShareableContentService
{
public:
    explicit ShareableContentService(std::shared_ptr<platform::ShareableContentProvider> provider);

    /// Likely meetings, then browsers, then other windows, each by title in the user's language; then the displays.
    /// Fails with the platform's failure, unchanged.
    [[nodiscard]] Task<Result<std::deque<CaptureSource>>> availableSources();

    [[nodiscard]] static bool isBrowser(const QString& appName);
    [[nodiscard]] static bool isLikelyMeeting(const QString& title, const QString& appName);

private:
    std::shared_ptr<platform::ShareableContentProvider> m_provider;
};

} // namespace quorvel
