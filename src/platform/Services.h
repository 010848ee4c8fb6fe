#pragma once

#include "platform/Appearance.h"
#include "platform/CaptureStream.h"
#include "platform/Clock.h"
#include "platform/KeyMonitor.h"
#include "platform/Keychain.h"
#include "platform/MainThread.h"
#include "platform/Panel.h"
#include "platform/ShareableContent.h"
#include "platform/UrlSession.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

#include <memory>

namespace quorvel::platform {

/// Everything that the application asks of the system, handed in where its objects are built. None is null.
struct Services
{
    std::shared_ptr<MainThread> mainThread;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<UrlSession> urlSession;
    std::shared_ptr<UserDefaultsProvider> userDefaults;
    std::shared_ptr<Keychain> keychain;
    std::shared_ptr<ShareableContentProvider> shareableContent;
    std::shared_ptr<CaptureProvider> capture;
    std::shared_ptr<ScreenProvider> screens;
    std::shared_ptr<PanelProvider> panels;
    std::shared_ptr<KeyMonitorProvider> keyMonitors;
    std::shared_ptr<Workspace> workspace;
    std::shared_ptr<AppearanceProvider> appearance;
};

} // namespace quorvel::platform
