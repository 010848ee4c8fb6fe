#pragma once

#include "platform/Task.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace quorvel::platform {

struct RunningApplication
{
    /// Operating-system process that owns the window; the host's number for sandboxed applications. 0 when unknown.
    std::int64_t processId = 0;
    QString applicationName;
};

/// A snapshot of one window, as it was when the content was read.
struct ShareableWindow
{
    std::uint32_t windowId = 0;
    std::optional<QString> title;
    std::optional<RunningApplication> owningApplication;
    bool isOnScreen = false;
};

/// A snapshot of one connected display. The number stays the same while the display stays connected.
struct ShareableDisplay
{
    std::uint32_t displayId = 0;
};

struct ShareableContent
{
    std::vector<std::shared_ptr<const ShareableWindow>> windows;
    std::vector<std::shared_ptr<const ShareableDisplay>> displays;
};

/// Lists what can be captured. Main thread.
class ShareableContentProvider
{
public:
    virtual ~ShareableContentProvider() = default;

    [[nodiscard]] virtual Task<Result<ShareableContent>> shareableContent(bool excludingDesktopWindows,
                                                                          bool onScreenWindowsOnly) = 0;
};

} // namespace quorvel::platform
