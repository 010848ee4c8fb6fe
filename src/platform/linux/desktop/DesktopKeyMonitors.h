#pragma once

#include "platform/KeyMonitor.h"

#include <memory>

namespace quorvel::platform {

class KeyListener;

/// Key presses as the X server reports them: those of our own windows as the toolkit delivers them, all others from the
/// raw events of the keyboards, which nobody's grab hides. Only the keys that the seam has a code for are passed on.
class DesktopKeyMonitors final : public KeyMonitorProvider
{
public:
    DesktopKeyMonitors();

    [[nodiscard]] std::unique_ptr<KeyMonitor> addLocalKeyDownMonitor(Handler handler) override;
    [[nodiscard]] std::unique_ptr<KeyMonitor> addGlobalKeyDownMonitor(Handler handler) override;

private:
    std::shared_ptr<KeyListener> m_listener;
};

} // namespace quorvel::platform
