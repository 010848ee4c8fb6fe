#pragma once

#include "platform/Services.h"
#include "support/FakeCapture.h"
#include "support/FakeClock.h"
#include "support/FakeDesktop.h"
#include "support/FakeStores.h"
#include "support/FakeUrlSession.h"

#include <memory>

namespace quorvel::test {

/// A whole system made of fakes. The members stay reachable for the test while the application holds the services.
struct FakeServices
{
    std::shared_ptr<platform::MainThread> mainThread = std::make_shared<platform::MainThread>();
    std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
    std::shared_ptr<FakeUrlSession> urlSession = std::make_shared<FakeUrlSession>();
    std::shared_ptr<FakeUserDefaultsProvider> userDefaults = std::make_shared<FakeUserDefaultsProvider>();
    std::shared_ptr<FakeKeychain> keychain = std::make_shared<FakeKeychain>();
    std::shared_ptr<FakeShareableContent> shareableContent = std::make_shared<FakeShareableContent>();
    std::shared_ptr<FakeCaptureProvider> capture = std::make_shared<FakeCaptureProvider>();
    std::shared_ptr<FakeScreens> screens = std::make_shared<FakeScreens>();
    std::shared_ptr<FakePanels> panels = std::make_shared<FakePanels>();
    std::shared_ptr<FakeKeyMonitors> keyMonitors = std::make_shared<FakeKeyMonitors>();
    std::shared_ptr<FakeWorkspace> workspace = std::make_shared<FakeWorkspace>();
    std::shared_ptr<FakeAppearance> appearance = std::make_shared<FakeAppearance>();

    [[nodiscard]] platform::Services services() const
    {
        return {
            .mainThread = mainThread,
            .clock = clock,
            .urlSession = urlSession,
            .userDefaults = userDefaults,
            .keychain = keychain,
            .shareableContent = shareableContent,
            .capture = capture,
            .screens = screens,
            .panels = panels,
            .keyMonitors = keyMonitors,
            .workspace = workspace,
            .appearance = appearance,
        };
    }
};

} // namespace quorvel::test
